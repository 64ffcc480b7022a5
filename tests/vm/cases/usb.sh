# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
#
# USB events as records: the report of the last device, byte by byte.

hook=vh_usb_zem_set

# Set the state without a device, with an empty report.
no_device()
{
	raise "$hook 10 1 1 - - UNKNOWN"
	zemtest flush
	speed=$(zeros 32) message=$(zeros 128)
}

# zeros BYTES
zeros()
{
	printf "%0$((2 * $1))d" 0
}

hex()
{
	printf %s "$1" | xxd -p | tr -d '\n'
}

# over FIELD TEXT: print the field's bytes with the text and its terminator at the start.
over()
{
	text=$(hex "$2")00
	echo "$text$(echo "$1" | cut -c $((${#text} + 1))-)"
}

# name TEXT: print it as 32 bytes.
name()
{
	echo "$(hex "$1")$(zeros 32)" | cut -c 1-64
}

# event TYPE SPEED IDS MAKER NAME MESSAGE: set $record to the expected text; IDS are in memory order. Bytes after
# speed and message stay from earlier events.
event()
{
	speed=$(over "$speed" "$2") message=$(over "$message" "$6")
	record="$(header 1 1 232)$speed$3$(name "$4")$(name "$5")$(printf %02x "$1")000000$message"
}

# is_event WHAT TYPE SPEED IDS MAKER NAME MESSAGE: compare the next record, which may take a while.
is_event()
{
	what=$1
	shift
	event "$@"
	is "$what" "$(take 1 30000)" "$record"
}

test_a_device_is_connected_fails_and_is_disconnected()
{
	no_device
	raise "$hook 0 1a2b 3c4d \"A maker, Inc.\" \"Stick 3\" super-speed-plus"
	is_event "comes" 0 super-speed-plus 2b1a4d3c "A maker, Inc." "Stick 3" "New device found"
	raise "$hook 1"
	is_event "disk" 1 super-speed-plus 2b1a4d3c "A maker, Inc." "Stick 3" "Attached new SCSI disk"
	raise "$hook 2 /dev/block/by-name/super 18446744073709551615"
	disk=$(basename "$(readlink /dev/block/by-name/super)")
	is_event "error" 2 super-speed-plus 2b1a4d3c "A maker, Inc." "Stick 3" \
		"Buffer I/O error on dev $disk, logical block 18446744073709551615"
	raise "$hook 10 1a2b 3c4d \"A maker, Inc.\" \"Stick 3\" low-speed"
	is_event "goes" 10 low-speed 2b1a4d3c "A maker, Inc." "Stick 3" "USB disconnect"
	speed=$(zeros 32) message=$(zeros 128)
	raise "$hook 0 ffff 0 m p low-speed"
	is_event "another comes" 0 low-speed ffff0000 m p "New device found"
}

# Each event is raised on any of them.
test_events_of_all_cpus_are_whole()
{
	no_device
	for cpu in $cpus; do
		raise "cpu=$cpu $hook 0 1 2 m p low-speed times=3"
	done
	event 0 low-speed 01000200 m p "New device found"
	count=$((3 * $(echo "$cpus" | wc -w)))
	is "records" "$(take $count | sort | uniq -c | sed 's/^ *//')" "$count $record"
}

test_a_disk_that_is_plugged_in_and_pulled_out_is_reported()
{
	has_usb_disks || return 0
	no_device
	modprobe -a dummy_hcd usb-storage sd_mod || fail "there is no USB"
	echo 1 >$platform/live
	modprobe g_mass_storage file=/dev/block/sda removable=1 idVendor=0x1a2b idProduct=0x3c4d \
		iManufacturer='A maker, Inc.' iProduct='Stick 3' || fail "the disk is not plugged in"
	stick="high-speed 2b1a4d3c"
	# shellcheck disable=SC2086 # two words
	{
		event 0 $stick "A maker, Inc." "Stick 3" "New device found"
		comes=$record
		event 1 $stick "A maker, Inc." "Stick 3" "Attached new SCSI disk"
		# Different CPUs report them; a late consumer takes the records in the order of the CPUs.
		is "comes, with a disk" "$(take 2 60000 | sort)" "$(printf '%s\n' "$comes" "$record" | sort)"
		# open() waits for the partition scan, which would fail and be reported.
		wait_until 30 dd if=/dev/sda of=/dev/null bs=4k count=1 2>/dev/null || fail "no disk"
		rmmod g_mass_storage || fail "the disk is not pulled out"
		is_event "goes" 10 $stick "A maker, Inc." "Stick 3" "USB disconnect"
	}
}

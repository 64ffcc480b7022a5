# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
# guest: --no-zem
#
# The platform's hook of USB events, raised by hand and for a disk that the guest itself plugs in.

# shellcheck source=tests/vm/guest/listener.sh
. "$here/listener.sh"

hook=vh_usb_zem_set

told()
{
	cat $listener/usb
}

# plug FILE: plug in the disk sda with the content of FILE.
plug()
{
	modprobe -a dummy_hcd usb-storage sd_mod || fail "there is no USB"
	modprobe g_mass_storage file="$1" removable=1 idVendor=0x1a2b idProduct=0x3c4d \
		iManufacturer='A maker, Inc.' iProduct='Stick 3' || fail "the disk is not plugged in"
	# open() waits for the partition scan.
	wait_until 30 dd if=/dev/sda of=/dev/null bs=4k count=1 2>/dev/null || fail "the disk is not found"
}

unplug()
{
	rmmod g_mass_storage || fail "the disk is not pulled out"
	wait_until 30 has_gone || fail "the device stays"
}

# With live hooks the event follows the removal of the disk's entries in sysfs.
has_gone()
{
	if [ "$(cat $platform/live)" = Y ]; then
		grep -q '^10 ' $listener/usb
	else
		[ ! -e /sys/bus/usb/devices/1-1 ]
	fi
}

test_what_is_not_understood_is_refused()
{
	refused raise $hook "$hook x" "$hook 0" "$hook 1 2" "$hook 2 /dev/block/sda" "$hook 3" \
		"$hook 0 1a2b 3c4d maker name" "$hook 0 10000 3c4d maker name high-speed" \
		"$hook 0 1a2b x maker name high-speed" "$hook 0 1a2b 3c4d maker name fast" \
		"$hook 10 1a2b 3c4d maker name high-speed more" "$hook 2 /dev/block/sda x" "$hook 0 nil"
	for text in "$hook 0 1a2b 3c4d \"maker name high-speed" "$hook \"1"; do
		echo "$text" 2>/dev/null >$platform/raise && fail "'$text' is understood"
	done
	is "told" "$(told)" ""
}

test_events_raised_by_hand_have_the_given_properties()
{
	raise $hook 0 1a2b 3c4d '"A maker, Inc."' '"Stick 3"' super-speed
	raise $hook 0 FFFF 0 '""' - UNKNOWN
	raise $hook 10 1 2 - name low-speed
	raise $hook 1
	raise $hook 2 /dev/block/by-name/super 18446744073709551615
	raise $hook 5 null
	raise $hook -7 null times=2
	raise $hook 0 null
	is "told" "$(told)" "0 1a2b 3c4d <A maker, Inc.> <Stick 3> 5
0 ffff 0000 <> <none> 0
10 0001 0002 <none> <name> 1
1
2 $(basename "$(readlink /dev/block/by-name/super)") 18446744073709551615
5
-7
-7
0"
}

test_a_disk_is_plugged_in_and_pulled_out()
{
	has_usb_disks || return 0
	echo 1 >$platform/live
	plug /dev/block/sda
	is "plugged in" "$(told)" "0 1a2b 3c4d <A maker, Inc.> <Stick 3> 3
1"
	watch 0
	dd if=/dev/sda of=/dev/null bs=64k count=4 2>/dev/null || fail "it is not read"
	unplug
	is "pulled out" "$(told)" "10 1a2b 3c4d <A maker, Inc.> <Stick 3> 3"
}

# The kernel's message about the buffer names the same device and block.
test_errors_of_a_disk_name_its_block()
{
	has_usb_disks || return 0
	dd if=/dev/zero of=/tmp/stick bs=1M count=8 2>/dev/null
	echo 1 >$platform/live
	plug /tmp/stick
	truncate -s 1M /tmp/stick
	watch 0
	mark_log
	dd if=/dev/sda of=/dev/null bs=4k skip=1000 count=1 2>/dev/null && fail "there is no error"
	events=$(told | sort -u)
	contains "the kernel's word" "$(log)" "Buffer I/O error on dev sda, logical block 1000,"
	contains "told" "$events
" "2 sda 1000
"
	is "of other kinds" "$(echo "$events" | grep -cv '^2 sda ')" 0
	watch 0
	unplug
	is "pulled out" "$(told | sed 's/ .*//')" 10
	# shellcheck disable=SC2034 # for lib.sh: the kernel's messages about the errors are expected
	log_is_checked=1
}

# The listener keeps a reference to the disk and reads its statistics.
test_a_kept_disk_is_pulled_out()
{
	has_usb_disks || return 0
	plug /dev/block/sda
	tr : ' ' </sys/block/sda/dev >$listener/device
	before=$(cat $listener/device)
	dd if=/dev/sda of=/dev/null bs=4k count=8 iflag=direct 2>/dev/null
	is "reads" "$(cat $listener/device)" "sda $((${before#* } + 8))"
	unplug
	# The kernel clears them.
	is "reads" "$(cat $listener/device)" "sda 0"
	rmmod sd_mod 2>/dev/null && fail "the driver goes"
	{ rmmod zem_platform_test && rmmod zem_platform; } || fail "the platform does not go"
	rmmod sd_mod || fail "the driver does not go"
	insmod /run/vm/modules/zem_platform.ko || fail "the platform does not load"
}

test_nothing_is_reported_without_live_events()
{
	has_usb_disks || return 0
	plug /dev/block/sda
	unplug
	is "told" "$(told)" ""
}

test_rounds_of_unloading_while_disks_are_plugged_and_pulled()
{
	has_usb_disks || return 0
	for round in $(rounds 2 3); do
		echo 1 >$platform/live
		plug /dev/block/sda &
		usleep $((round * 400000))
		{ rmmod zem_platform_test && rmmod zem_platform; } || fail "round $round: the platform does not go"
		insmod /run/vm/modules/zem_platform.ko || fail "round $round: the platform does not load"
		insmod /share/zem_platform_test.ko || fail "round $round: the listener does not load"
		wait $!
		watch 0
		unplug
		is "round $round: pulled out" "$(told | sed 's/ .*//')" 10
	done
}

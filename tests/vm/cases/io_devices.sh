# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
#
# Tracked disks that are removed while busy, and loading and unloading zem meanwhile.

# shellcheck disable=SC2034 # for lib.sh: the kernel's complaints about removed disks are expected
expects_complaints()
{
	log_is_checked=1
}

# track PATH DEVICE: load zem again, with the disk at that path.
track()
{
	tracked=$1 was_linked=$(readlink "$1")
	ln -sf "$2" "$tracked"
	fresh_io
	contains "found" "$(cat $kioind/show1_diskstats)" "$tracked($(disk_number "$tracked" | tr : ,),"
}

untrack()
{
	ln -sf "$was_linked" "$tracked"
	reload_zem
}

# busy DEVICE: read and write until the device is removed, in two jobs without root's rights, which cannot create
# a file with the name of a removed device.
busy()
{
	open_disks_to_users "$1"
	: >/tmp/busy
	for operation in read write; do
		while [ -e /tmp/busy ]; do
			case $operation in
			read) zemtest as 1000 dd if="$1" of=/dev/null bs=16k count=64 iflag=direct || break ;;
			write) zemtest as 1000 dd if=/dev/zero of="$1" bs=4k count=64 oflag=direct conv=notrunc || break ;;
			esac
		done >/dev/null 2>&1 &
		helpers="$helpers $!"
	done
}

not_busy()
{
	rm -f /tmp/busy
	end_tasks
}

# statistics_of PATH: print its row of the view, without padding.
statistics_of()
{
	awk -v path="$1:" '$1 == path { $1 = ""; print substr($0, 2) }' $kioind/show1_diskstats
}

# reads_of PATH: rd_ios of the view.
reads_of()
{
	statistics_of "$1" | cut -d ' ' -f 1
}

# The kernel clears the statistics of a removed disk and then waits for requests in flight. The one job of reads
# has at most one.
reads_were_cleared()
{
	holds "reads" "$(reads_of $tracked)" -le 1
}

# All three views, a collection and another disk still work.
io_goes_on()
{
	for file in show1_diskstats show2_uid_io show3_bio_time; do
		holds "$file has text" "$(wc -c <$kioind/$file)" -gt 700
	done
	contains "its place" "$(cat $kioind/show1_diskstats)" "$tracked($number,"
	collect 3
	contains "record" "$record" "$(header 5 3 3936)"
	bio /dev/block/sda 0 200 2040000 0x2000
	bios_are "another disk" 1 0 1 0 0
}

# plug: plug in a USB disk. The name of a disk that is still tracked is not reused.
plug()
{
	modprobe -a dummy_hcd usb-storage sd_mod || fail "there is no USB"
	dd if=/dev/zero of=/tmp/stick bs=1M count=8 2>/dev/null
	modprobe g_mass_storage file=/tmp/stick removable=1 || fail "the disk is not plugged in"
	wait_until 30 is_plugged || fail "the disk is not found"
}

is_plugged()
{
	stick=$(cd /sys/block && echo sd?)
	# open() waits for the partition scan.
	dd if="/dev/$stick" of=/dev/null bs=4k count=1 2>/dev/null
}

test_a_usb_disk_is_pulled_out_under_io()
{
	has_usb_disks || return 0
	expects_complaints
	plug
	track /dev/block/sde "/dev/$stick"
	number=$(disk_number "/dev/$stick" | tr : ,)
	dd if="/dev/$stick" of=/dev/null bs=4k count=8 iflag=direct 2>/dev/null
	holds "reads" "$(reads_of $tracked)" -ge 9
	echo 1 >$platform/live
	busy "/dev/$stick"
	usleep 500000
	rmmod g_mass_storage || fail "the disk is not pulled out"
	wait_until 30 test ! -e "/sys/block/$stick" || fail "the disk stays"
	not_busy
	echo 0 >$platform/live
	reads_were_cleared
	io_goes_on
	plug
	io_goes_on
	rmmod g_mass_storage
	untrack
	rm /tmp/stick
}

# Also while the device is open.
test_a_disk_that_is_removed_under_io_can_still_be_asked()
{
	expects_complaints
	start_null_disk
	disk=/dev/nullb0
	track /dev/block/by-name/super "$disk"
	number=$(disk_number "$disk" | tr : ,)
	exec 8<"$disk"
	echo 1 >$platform/live
	busy "$disk"
	wait_until 20 reads_reach $tracked 100 || fail "nothing is read"
	power 0
	not_busy
	echo 0 >$platform/live
	reads_were_cleared
	io_goes_on
	exec 8<&-
	io_goes_on
	rmmod null_blk 2>/dev/null && fail "its driver goes"
	untrack
	end_null_disk
}

test_a_disk_that_is_removed_at_rest_has_no_statistics()
{
	start_null_disk
	track /dev/block/by-name/super /dev/nullb0
	dd if=/dev/nullb0 of=/dev/null bs=4k count=100 iflag=direct 2>/dev/null
	holds "reads" "$(reads_of $tracked)" -ge 100
	power 0
	is "statistics" "$(statistics_of $tracked)" "0 0 0 0 0 0 0 0 0 0 0"
	untrack
	end_null_disk
}

reads_reach()
{
	[ "$(reads_of "$1")" -ge "$2" ]
}

# The hooks are live, and all disks of the machine are busy.
test_rounds_of_unloading_under_live_io()
{
	for disk in $disks; do
		busy "$disk"
	done
	echo 1 >$platform/live
	for round in $(rounds 2 3); do
		set_file trigger $round
		unload_zem || fail "round $round: zem does not unload"
		holds "round $round: the views have gone" ! -e $kioind
		insmod $zem_module || fail "round $round: zem does not load"
		find_disks
		contains "round $round: the views are back" "$(ls $kioind)" "show3_bio_time"
		cat $kioind/* >/dev/null
		echo "10050 0" >$procstat/set
		usleep 300000
		holds "round $round: bios are counted" \
			"$(sed -n 's/^read bio count: \([0-9]*\);.*/\1/p' $kioind/show3_bio_time)" -gt 0
	done
	not_busy
	echo 0 >$platform/live
	reload_zem
}

# Its files are removed too, and the next load does not know its users.
test_what_was_known_does_not_outlive_the_module()
{
	fresh_io
	echo "10050 0" >$procstat/set
	bio /dev/block/sda 0 200 2040000 0x2000
	unload_zem
	holds "the views have gone" ! -e $kioind
	holds "the control files have gone" ! -e $procstat
	load_zem
	bios_are "view" 0 0 0 0 0
	echo "10051 0" >$procstat/set
	cat $kioind/show2_uid_io >/dev/null
	show_users
	is "users of this load alone" "$(sed -n 's/^ *Top *[0-9]*: \([1-9][0-9]*\) .*/\1/p' /tmp/users | sort -u)" 10051
	# shellcheck disable=SC2154 # sched.sh
	log_is "load" "$load_log
6 kioind_save_dev "
}

# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
# guest: --no-zem
#
# The platform's hooks of block IO, and of reads and writes of tasks, compared with the real IO.

# shellcheck source=tests/vm/guest/listener.sh
. "$here/listener.sh"

# The disk with an Android device's data, and another one, by the kernel's names.
data=/dev/block/by-name/userdata
number=$(cat "/sys/class/block/$(basename "$(readlink $data)")/dev")

# heard_count SUM
heard_count()
{
	heard "$1" | cut -d ' ' -f 1
}

# --- by hand --------------------------------------------------------------------------------------

test_what_is_not_understood_is_refused()
{
	start_task sleepers 1
	refused raise vh_blk_bio_submit "vh_blk_bio_submit 254" "vh_blk_bio_submit x:y" \
		"vh_blk_bio_submit $number 1" "vh_blk_bio_submit -1:0" "vh_blk_bio_submit 1:2x" \
		"vh_blk_bio_clone $number" "vh_blk_bio_clone $number x" "vh_blk_bio_clone $number 65536" \
		"vh_blk_bio_endio $number 0 1 1000 0" "vh_blk_bio_endio $number 0 512 1000 0 1" \
		"vh_blk_bio_endio $number 0 1 -1 0 1" "vh_blk_bio_endio $number 0 1 1000 0 1 2" \
		"vh_blk_bio_endio $number 4294967296 1 1000 0 1" \
		"vh_task_rchar $task" "vh_task_rchar $task x" "vh_task_rchar $task 1 dsync" \
		"vh_task_wchar $task 1 sync" "vh_task_wchar 1" "cpu=1" "times=2"
	refused long_iowait 2
	is "a path that is not there" "$(outcome raise "vh_blk_bio_submit /dev/none")" "vh_blk_bio_submit /dev/none: ENOENT"
	is "a number that is not there" "$(outcome raise "vh_blk_bio_submit 4000:5")" "vh_blk_bio_submit 4000:5: ENODEV"
	is "a path that is no device" "$(outcome raise "vh_blk_bio_submit /proc")" "vh_blk_bio_submit /proc: ENOTBLK"
	is "heard" "$(grep -v ' 0 0$\|^absurd 0$' $listener/sums)" ""
}

test_bios_raised_by_hand_have_the_given_properties()
{
	raise "vh_blk_bio_submit $data"
	is "flags after a submission" "$(cat $platform/bio_flags)" 2000
	raise "vh_blk_bio_clone $number 0x2001"
	is "flags of a clone of a marked bio" "$(cat $platform/bio_flags)" 2000
	raise "vh_blk_bio_clone $number 0x1001"
	is "flags of a clone of one without" "$(cat $platform/bio_flags)" 0
	watch 4242
	raise "vh_blk_bio_endio $number 0x801 511 5000000 0x3000 4242"
	is "flags after the end" "$(cat $platform/bio_flags)" 1000
	is "bytes" "$(heard endio_bytes)" "1 2093056"
	is "marked" "$(heard marked)" "1 0"
	holds "latency" "$(heard_total endio)" -ge 5000000
	holds "latency" "$(heard_total endio)" -lt 105000000
	raise "vh_blk_bio_endio /dev/block/sda 0 1 0 0 4241 times=3"
	is "of another submitter" "$(heard_count endio)" 1
	watch 0
	raise "cpu=2 vh_blk_bio_endio /dev/block/sda 1 2 1000 0 0 times=3"
	is "bytes" "$(heard endio_bytes)" "3 24576"
	is "absurd" "$(heard absurd)" 0
}

test_reads_and_writes_by_hand_carry_what_was_given()
{
	start_task sleepers 1
	watch "$task"
	raise "vh_task_rchar $task 100"
	raise "vh_task_rchar $task -5"
	raise "vh_task_wchar $task 7"
	raise "vh_task_wchar $task 4096 dsync times=2"
	is "heard" "$(heard rchar), $(heard wchar), $(heard wchar_sync)" "2 95, 1 7, 2 8192"
}

test_the_tail_is_filled_on_request_and_cleared_once()
{
	is "at first" "$(cat $listener/tail)" "0 0 0 0 0"
	echo 1 >$platform/long_iowait
	is "filled" "$(cat $listener/tail)" "3 10 148 678 0"
	echo 0 >$platform/long_iowait
	is "cleared" "$(cat $listener/tail)" "0 0 0 0 0"
}

# --- live -----------------------------------------------------------------------------------------

# 4 KiB each, one after the other, with direct IO.
test_each_bio_of_a_reader_is_reported_with_its_submitter()
{
	start_stopped direct-reads $data 20
	echo 1 >$platform/live
	watch $task
	continue_and_wait $task
	echo 0 >$platform/live
	is "submitted" "$(heard submit)" "20 81920"
	is "ended" "$(heard_count endio)" 20
	is "bytes" "$(heard endio_bytes)" "20 81920"
	is "marked until the end" "$(heard_count marked)" 20
	is "clones" "$(heard clone)" "0 0"
	is "read" "$(heard rchar)" "20 81920"
	holds "latencies" "$(heard_total endio)" -gt 0
	is "absurd" "$(heard absurd)" 0
}

test_latencies_are_those_of_the_disk()
{
	modprobe null_blk irqmode=2 completion_nsec=20000000 nr_devices=1 gb=1 || fail "null_blk does not load"
	start_stopped direct-reads /dev/nullb0 10
	echo 1 >$platform/live
	watch $task
	continue_and_wait $task
	echo 0 >$platform/live
	is "ended" "$(heard_count endio)" 10
	holds "ns" "$(heard_total endio)" -ge 200000000
	holds "ns" "$(heard_total endio)" -lt 2000000000
	end_tasks
	rmmod null_blk || fail "null_blk does not go"
}

# Its bios are in no request.
test_bios_of_a_disk_without_requests_are_reported()
{
	modprobe brd rd_nr=1 rd_size=1024 || fail "brd does not load"
	start_stopped direct-reads /dev/ram0 10
	echo 1 >$platform/live
	watch $task
	continue_and_wait $task
	echo 0 >$platform/live
	is "submitted" "$(heard submit)" "10 40960"
	is "ended" "$(heard endio_bytes)" "10 40960"
	is "marked until the end" "$(heard_count marked)" 10
	is "absurd" "$(heard absurd)" 0
	end_tasks
	rmmod brd || fail "brd does not go"
}

# Larger than the disk's limit: the parts are clones of the rest, and carry its mark.
test_parts_of_a_large_bio_are_clones()
{
	queue=/sys/class/block/$(basename "$(readlink $data)")/queue
	most=$(cat "$queue/max_sectors_kb")
	echo 16 >"$queue/max_sectors_kb"
	echo 1 >$platform/live
	watch 0
	dd if=$data of=/dev/null bs=64k count=4 iflag=direct 2>/dev/null || fail "dd fails"
	echo 0 >$platform/live
	echo "$most" >"$queue/max_sectors_kb"
	is "submitted" "$(heard submit)" "4 262144"
	is "clones" "$(heard clone)" "12 196608"
	is "ended" "$(heard_count endio)" 16
	is "bytes" "$(heard_total endio_bytes)" 262144
	is "marked until the end" "$(heard_count marked)" 16
	is "absurd" "$(heard absurd)" 0
}

test_a_file_system_works_with_marked_bios()
{
	modprobe ext4 || fail "ext4 does not load"
	mke2fs -q $data >/dev/null 2>&1 || fail "no file system can be made"
	mkdir -p /tmp/data
	echo 1 >$platform/live
	watch 0
	mount -t ext4 $data /tmp/data || fail "it does not mount"
	dd if=/dev/urandom of=/tmp/data/file bs=64k count=64 2>/dev/null
	sum=$(md5sum </tmp/data/file)
	umount /tmp/data || fail "it does not unmount"
	echo 3 >/proc/sys/vm/drop_caches
	mount -t ext4 $data /tmp/data || fail "it does not mount again"
	is "what is read back" "$(md5sum </tmp/data/file)" "$sum"
	umount /tmp/data
	echo 0 >$platform/live
	note "submitted: $(heard submit), ended: $(heard endio_bytes)"
	holds "written and read" "$(heard_total submit)" -ge 8388608
	is "absurd" "$(heard absurd)" 0
}

# transfers [KIND]: sets $text to what was heard of ten calls: written, written synchronously, read.
transfers()
{
	: >/tmp/transferred
	start_stopped transfers /tmp/transferred 1000 $1
	watch $task
	continue_and_wait $task
	text="$(heard wchar), $(heard wchar_sync), $(heard rchar)"
}

test_reads_and_writes_are_reported_with_their_bytes()
{
	echo 1 >$platform/live
	transfers
	is "an ordinary file" "$text" "5 5000, 0 0, 5 5000"
	transfers dsync
	is "a file opened with O_DSYNC" "$text" "0 0, 5 5000, 5 5000"
	transfers sync
	is "a file opened with O_SYNC" "$text" "0 0, 5 5000, 5 5000"
	transfers rwf-dsync
	is "a call with RWF_DSYNC" "$text" "4 4000, 1 1000, 5 5000"
	transfers rwf-sync
	is "a call with RWF_SYNC" "$text" "4 4000, 1 1000, 5 5000"
	echo 0 >$platform/live
}

test_nothing_is_reported_without_live_events()
{
	start_stopped direct-reads $data 5
	continue_and_wait $task
	is "heard" "$(grep -v ' 0 0$\|^absurd 0$' $listener/sums)" ""
}

# --- devices --------------------------------------------------------------------------------------

test_a_device_is_kept_with_its_driver_for_its_user()
{
	modprobe null_blk nr_devices=1 gb=1 || fail "null_blk does not load"
	tr : ' ' </sys/class/block/nullb0/dev >$listener/device
	before=$(cut -d ' ' -f 2 $listener/device)
	dd if=/dev/nullb0 of=/dev/null bs=4k count=8 iflag=direct 2>/dev/null
	is "reads" "$(cat $listener/device)" "nullb0 $((before + 8))"
	rmmod null_blk 2>/dev/null && fail "the driver goes"
	{ rmmod zem_platform_test && rmmod zem_platform; } || fail "the platform does not go"
	rmmod null_blk || fail "the driver does not go"
	insmod /run/vm/modules/zem_platform.ko || fail "the platform does not load"
	is "a device that is not there" "$(insmod /share/zem_platform_test.ko && echo 4000 5 2>&1 >$listener/device)" \
		"sh: write error: No such device"
}

test_rounds_of_unloading_under_io()
{
	for disk in sda sde by-name/super by-name/userdata; do
		while :; do
			dd if=/dev/block/$disk of=/dev/null bs=64k count=100 iflag=direct
			dd if=/dev/zero of=/dev/block/$disk bs=32k count=100 conv=fsync
		done >/dev/null 2>&1 &
		helpers="$helpers $!"
	done
	for round in $(rounds 2 5); do
		echo 1 >$platform/live
		usleep 300000
		rmmod zem_platform_test || fail "round $round: the listener does not go"
		usleep 100000
		rmmod zem_platform || fail "round $round: the platform does not go"
		insmod /run/vm/modules/zem_platform.ko || fail "round $round: the platform does not load"
		insmod /share/zem_platform_test.ko || fail "round $round: the listener does not load"
	done
	is "absurd" "$(heard absurd)" 0
}

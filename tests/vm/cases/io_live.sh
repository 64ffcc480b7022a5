# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
#
# Users that do real IO with live hooks, through a file system and directly. zem's numbers are compared with the
# kernel's own accounting of their processes and of the disks.

data=/dev/block/by-name/userdata
maps=10050 backup=10060

# kernel_of DISK: print the kernel's statistics: bios (requests and merged bios) and sectors, of reads and
# writes.
kernel_of()
{
	awk -v number="$(disk_number "$1")" '$1 ":" $2 == number { print $4 + $5, $6, $8 + $9, $10 }' /proc/diskstats
}

# since BEFORE AFTER: print reads, their pages, writes, their pages.
since()
{
	echo "$1 $2" | awk '{ print $5 - $1, ($6 - $2) / 8, $7 - $3, ($8 - $4) / 8 }'
}

# numbers_of LINE: print the numbers in that line of a copy of the view.
numbers_of()
{
	sed -n "$1p" /tmp/latencies | grep -o ': *[0-9]\+' | tr -d ': ' | tr '\n' ' '
}

# reported: print zem's numbers for all tracked disks. Reading folds.
reported()
{
	cat $kioind/show3_bio_time >/tmp/latencies
	# shellcheck disable=SC2046 # numbers
	set -- $(numbers_of 3) $(numbers_of 5)
	echo "$1 $4 $(($2 + $3)) $(($5 + $6))"
}

# row_sum CLASS PATH: print reads and writes in all buckets.
row_sum()
{
	sed -n "/$1/,/^\$/p" /tmp/latencies | awk -v path="$2:" '
		$1 == path {
			sub(/ total_time.*/, "")
			gsub(/[|]/, " ")
			for (i = 2; i <= NF; i += 2) {
				reads += $i
				writes += $(i + 1)
			}
			print reads, writes
		}'
}

# near WHAT GOT WANTED: check to within 2 %.
near()
{
	holds "$1: there is something" "$3" -gt 0
	holds "$1: at least 98 % of $3" "$2" -ge $(($3 * 98 / 100))
	holds "$1: at most 102 % of $3" "$2" -le $((($3 * 102 + 99) / 100))
	note "$1: $2, the kernel's $3"
}

start_live()
{
	fresh_io
	echo "$maps 0" >$procstat/set
	echo "$backup 1" >$procstat/set
	show_users
	echo 1 >$platform/live
}

# Each bio is a request or part of one. With sixteen pages no time per page comes near the slot that is in no
# bucket.
test_direct_io_agrees_with_the_kernel_to_the_bio()
{
	open_disks_to_users $data /dev/block/sda /dev/block/sde
	start_user $maps pieces $data read 65536 40 direct
	reader=$task
	start_user $backup pieces /dev/block/sda write 65536 30 direct
	writer=$task
	# Each of these includes a flush of the disk, which is a bio without pages.
	start_user $maps pieces /dev/block/sde write 65536 10 direct-dsync
	flusher=$task
	start_live
	before=$(kernel_of $data) before_sda=$(kernel_of /dev/block/sda)
	continue_users $reader $writer $flusher
	echo 0 >$platform/live
	show_users
	is "the kernel's of userdata" "$(since "$before" "$(kernel_of $data)")" "40 640 0 0"
	is "the kernel's of sda" "$(since "$before_sda" "$(kernel_of /dev/block/sda)")" "0 0 30 480"
	is "reported" "$(reported)" "40 640 40 640"
	is "writes that were synchronous" "$(numbers_of 3)" "40 40 0 "
	is "in the foreground" "$(row_sum bio_fg $data), $(row_sum bio_fg /dev/block/sda), $(row_sum bio_fg /dev/block/sde)" \
		"40 0, 0 0, 0 10"
	is "in the background" "$(row_sum bio_bg $data), $(row_sum bio_bg /dev/block/sda), $(row_sum bio_bg /dev/block/sde)" \
		"0 0, 0 30, 0 0"
	is "of the one in the foreground" "$(top_of $maps 10 11 12 13 14 15 16 17)" \
		"$(accounted read_bytes $reader) $(accounted write_bytes $flusher) 0 0 60 0 655360 0"
	is "of the writer" "$(top_of $backup 10 11 12 13 14 15 16 17)" "0 0 0 $(accounted write_bytes $writer) 0 30 0 1966080"
	is "accounted" "$(accounted read_bytes $reader) $(accounted write_bytes $writer)" "2621440 1966080"
}

# Larger than the disk's limit: the parts are bios of their own, of the same class.
test_parts_of_large_bios_keep_their_class()
{
	queue=/sys/class/block/$(basename "$(readlink $data)")/queue
	most=$(cat "$queue/max_sectors_kb")
	echo 64 >"$queue/max_sectors_kb"
	open_disks_to_users $data
	start_user $maps pieces $data read 262144 5 direct
	start_live
	continue_users $task
	echo 0 >$platform/live
	echo "$most" >"$queue/max_sectors_kb"
	show_users
	is "reported" "$(reported | cut -d ' ' -f 1,2)" "20 320"
	is "in the foreground" "$(row_sum bio_fg $data)" "20 0"
	is "submitted" "$(top_of $maps 14 15)" "5 0"
}

# accounted_of PID: print bytes read and written, including the file system's blocks.
accounted_of()
{
	echo "$(accounted read_bytes "$1") $(accounted write_bytes "$1")"
}

mount_data()
{
	modprobe ext4 || fail "ext4 does not load"
	mke2fs -b 4096 $data >/dev/null 2>&1 || fail "no file system can be made"
	mkdir -p /tmp/data
	mount -t ext4 $data /tmp/data || fail "$data does not mount"
	for uid in $maps $backup; do
		for file in a b; do
			dd if=/dev/zero of=/tmp/data/$uid-$file bs=64k count=32 2>/dev/null
			chown $uid /tmp/data/$uid-$file
		done
	done
	sync
}

# by_both KIND_OF_MAPS KIND_OF_BACKUP OPERATION: both users transfer two megabytes each, concurrently.
by_both()
{
	start_user $maps pieces /tmp/data/$maps-a "$3" 65536 32 $1
	front=$task
	start_user $backup pieces /tmp/data/$backup-a "$3" 65536 32 $2
	back=$task
	echo 3 >/proc/sys/vm/drop_caches
	start_live
	before=$(kernel_of $data)
	continue_users $front $back
	echo 0 >$platform/live
	show_users
}

test_reads_through_a_file_system_are_those_that_the_kernel_accounts()
{
	mount_data
	by_both "" direct read
	is "of the one in the foreground" "$(top_of $maps 10 11 12 13)" "$(accounted_of $front) 0 0"
	is "of the one in the background" "$(top_of $backup 10 11 12 13)" "0 0 $(accounted_of $back)"
	holds "bytes through the cache" "$(accounted read_bytes $front)" -ge 2097152
	holds "bytes past the cache" "$(accounted read_bytes $back)" -ge 2097152
	# shellcheck disable=SC2046 # numbers
	set -- $(reported) $(since "$before" "$(kernel_of $data)")
	near "bios" "$1" "$5"
	near "pages" "$2" "$6"
	end_tasks
	umount /tmp/data || fail "$data does not unmount"
}

# counted_as_write: print how many writes the kernel counts for a file's flush: 1, or 0 before 6.6, which may count those
# of the device itself. There may be other writes.
counted_as_write()
{
	before=$(kernel_of $data)
	for _ in $(seq 8); do
		dd if=/dev/null of=/tmp/data/$maps-a conv=fsync,notrunc 2>/dev/null
	done
	# shellcheck disable=SC2046 # numbers
	set -- $(since "$before" "$(kernel_of $data)")
	echo $(($3 / 8))
}

# Bios of later write-back belong to no user, but the bytes are accounted to their user.
test_writes_through_a_file_system_are_those_that_the_kernel_accounts()
{
	mount_data
	flush=$(counted_as_write)
	note "writes for a flush: $flush"
	by_both dsync fsync write
	is "of the one in the foreground" "$(top_of $maps 10 11 12 13 16 17)" "$(accounted_of $front) 0 0 2097152 0"
	is "of the one in the background" "$(top_of $backup 10 11 12 13 16 17)" "0 0 $(accounted_of $back) 0 2097152"
	holds "bytes" "$(accounted write_bytes $front)" -ge 2097152
	holds "bios, one for each piece at least" "$(top_of $maps 14)" -ge 32
	# shellcheck disable=SC2046 # numbers
	set -- $(reported) $(since "$before" "$(kernel_of $data)")
	# A kernel may count a flush as a write of 0 bytes: one user flushes with each write, the other at the
	# end.
	near "bios" "$(($3 + 33 * flush))" "$7"
	near "pages" "$4" "$8"
	# shellcheck disable=SC2046 # numbers
	set -- $(numbers_of 5)
	holds "pages written synchronously" "$2" -ge 1024
	end_tasks

	# The kernel's own thread writes back, and no task waits.
	start_user $backup pieces /tmp/data/$backup-b write 65536 32
	start_live
	continue_users $task
	sync
	echo 0 >$platform/live
	show_users
	is "of the one in the background" "$(top_of $backup 13 17)" "$(accounted write_bytes $task) 2097152"
	reported >/dev/null
	# shellcheck disable=SC2046 # numbers
	set -- $(numbers_of 5)
	holds "pages written in any way" $(($2 + $3)) -ge 512
	end_tasks

	# Data that is truncated before it is written back is not written.
	start_user $backup pieces /tmp/data/$backup-b write 65536 32 cut
	start_live
	continue_users $task
	echo 0 >$platform/live
	show_users
	cancelled=$(accounted cancelled_write_bytes $task)
	holds "bytes cut off" "$cancelled" -gt 0
	is "of the one in the background" "$(top_of $backup 13)" "$(($(accounted write_bytes $task) - cancelled))"
	end_tasks
	umount /tmp/data || fail "$data does not unmount"
}

# start_btrfs: create a file system of 32 MiB on /dev/nullb0p1, a partition after the first MiB of an untracked
# disk.
start_btrfs()
{
	start_null_disk memory_backed=1 cache_size=4
	{
		head -c 446 /dev/zero
		printf '\0\0\0\0\203\0\0\0\0\10\0\0\0\0\1\0'
		head -c 48 /dev/zero
		printf '\125\252'
	} >/dev/nullb0
	blockdev --rereadpt /dev/nullb0
	wait_until 20 test -b /dev/nullb0p1 || fail "there is no partition"
	zcat /share/btrfs.gz >/dev/nullb0p1
	mkdir -p /tmp/btrfs
}

# btrfs interprets zem's mark on a bio as a zone append, whose location comes from the disk, and moves the
# checksum there. On a partition that location is wrong. A file without checksums has none to move.
test_a_file_system_that_looks_at_bit_13_has_what_users_wrote()
{
	if ! modprobe btrfs 2>/dev/null; then
		skip "this kernel has no btrfs"
		return
	fi
	start_btrfs
	head -c 1048576 /dev/urandom >/tmp/written
	chmod 644 /tmp/written
	start_live
	for checksums in datasum nodatasum; do
		mount -t btrfs -o $checksums /dev/nullb0p1 /tmp/btrfs || fail "it does not mount"
		: >/tmp/btrfs/$checksums
		chown $maps /tmp/btrfs/$checksums
		for times in 1 2; do
			zemtest as $maps dd if=/tmp/written of=/tmp/btrfs/$checksums bs=64k conv=notrunc,fsync \
				oflag=direct 2>/tmp/dd.log || fail "$checksums, $times: $(cat /tmp/dd.log)"
		done
		umount /tmp/btrfs || fail "it does not unmount"
	done
	echo 0 >$platform/live
	show_users
	holds "marked bios" "$(top_of $maps 14)" -ge 64
	echo 3 >/proc/sys/vm/drop_caches
	mount -t btrfs /dev/nullb0p1 /tmp/btrfs || fail "it does not mount again"
	for checksums in datasum nodatasum; do
		is "$checksums" "$(cmp /tmp/written /tmp/btrfs/$checksums 2>&1)" ""
	done
	umount /tmp/btrfs || fail "it does not unmount"
	end_null_disk
}

# IO before the change belongs to the previous state, also for bytes.
test_a_user_that_changes_state_keeps_what_was_charged()
{
	open_disks_to_users $data
	start_user $maps pieces $data read 4096 30 direct
	first=$task
	start_user $maps pieces $data write 4096 20 direct
	second=$task
	start_live
	continue_users $first
	echo "$maps 1" >$procstat/set
	continue_users $second
	echo 0 >$platform/live
	show_users
	is "bytes and bios" "$(top_of $maps 10 11 12 13 14 15)" "122880 0 0 81920 30 20"
	is "reported" "$(reported)" "30 30 20 20"
}

# If a process exits before a collection, only its bios are counted.
test_bytes_of_processes_that_have_gone_are_not_counted()
{
	open_disks_to_users $data
	start_user $maps pieces $data read 4096 10 direct
	start_live
	continue_users $task
	kill -CONT $task
	wait_until 20 has_ended $task || fail "$task does not end"
	end $task
	echo 0 >$platform/live
	show_users
	is "bytes and bios" "$(top_of $maps 10 14)" "0 10"

	# Also while the process is a zombie.
	start_live
	start_task zombie $maps $data
	echo 0 >$platform/live
	show_users
	is "what the kernel accounts" "$(accounted read_bytes $task)" 40960
	is "bytes and bios of a zombie" "$(top_of $maps 10 14)" "0 10"
}

test_all_threads_count_for_the_real_user_of_their_process()
{
	open_disks_to_users $data
	start_user $maps:$backup pieces $data read 4096 30 threads
	start_live
	continue_users $task
	echo 0 >$platform/live
	show_users
	is "accounted of each" "$(sed -n 's/^read_bytes: //p' /proc/$task/task/*/io)" "61440
61440"
	is "of the real user" "$(top_of $maps 10 11 12 13 14 15)" "122880 0 0 0 30 0"
	is "of the effective user" "$(top_of $backup 10 11 12 13 14 15)" "0 0 0 0 0 0"
}

# SVP tasks that wait for real IO, compared with the kernel's statistics.
test_a_live_svp_task_has_its_waits_and_transfers()
{
	open_disks_to_users $data
	start_user $maps pieces $data read 65536 40 direct
	echo "$task on" >$platform/svp
	echo "$task marked" >$platform/svp
	start_live
	continue_users $task
	echo 0 >$platform/live
	is "read" "$(field read_bytes "$task") $(field read_syscall_cnt "$task")" "2621440 40"
	is "bios, of those that were waited for" "$(($(field bio_read_size "$task") / 65536))" "$(field bio_read_cnt "$task")"
	holds "bios" "$(field bio_read_cnt "$task")" -gt 0
	holds "waits" "$(field iowait_total_cnt "$task")" -gt 0
	waits=0
	for count in $(field iowait_duration "$task"); do
		waits=$((waits + count))
	done
	is "waits by duration" "$waits" "$(field iowait_total_cnt "$task")"
	kernel=$(sed -n 's/^iowait_sum *: *//p; s/^se.statistics.iowait_sum *: *//p' "/proc/$task/sched" | tr -d . | sed 's/^0*\(.\)/\1/')
	is "ns, which the kernel has too" "$(field iowait_total "$task")" "$kernel"
}

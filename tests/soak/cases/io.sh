# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
#
# A storm of block IO. Nine users read and write on all disks from all CPUs, a tracked disk is removed and
# added, users change their state and are forgotten, the views are read, the collector and a trigger every
# second collect, and zemctl records. At the end the sum of the records must equal the kernel's statistics
# of the disks that stayed.

first_user=10001 last_user=10009

test_a_storm_of_io_leaves_no_memory_behind_and_its_records_add_up()
{
	start_disk_that_goes
	# shellcheck disable=SC2086 # paths
	open_disks_to_users $disks
	fresh_io
	resize_ring 262144
	# The sums of all captures.
	: >/tmp/kio-sums
	lost=0
	before=$(kernel_of_those_that_stay)
	echo 1 >$platform/live
	set_file trace_on 0
	set_file trace_on 1
	storms_leave_no_memory_behind
	# Only the kernel would count later write-back.
	sync
	sleep 2
	echo 0 >$platform/live
	after=$(kernel_of_those_that_stay)
	collect_the_rest
	records_add_up
	the_views_were_whole
	the_family_works
	end_disk_that_goes
}

start_parts()
{
	start_lives top-app "$1" 1
	cpu=0
	for disk in $disks; do
		user_io $((first_user + cpu)) $cpu "$disk" read direct &
		parts="$parts $!"
		# The kernel reports direct writes to a file that is also written through the cache.
		kind=direct
		[ "$disk" != /dev/block/by-name/userdata ] || kind=cached
		user_io $((first_user + cpu + 1)) $((cpu + 1)) "$disk" write $kind &
		parts="$parts $!"
		cpu=$((cpu + 2))
	done
	user_io $last_user 3 /dev/block/by-name/userdata read cached &
	parts="$parts $!"
	for part in trigger_every_second come_and_go change_users read_views raise_slow_bios; do
		$part &
		parts="$parts $!"
	done
}

# --- the parts ------------------------------------------------------------------------------------

# user_io UID CPU DISK read|write direct|cached: transfer blocks of 4 to 64 KiB. The disk may be removed.
user_io()
{
	turn=0
	while storming; do
		turn=$((turn + 1))
		size=$((4 << turn % 5))k
		case $4-$5 in
		read-direct) set -- "$1" "$2" "$3" "$4" "$5" "if=$3" of=/dev/null iflag=direct ;;
		write-direct) set -- "$1" "$2" "$3" "$4" "$5" if=/dev/zero "of=$3" oflag=direct ;;
		read-cached) set -- "$1" "$2" "$3" "$4" "$5" "if=$3" of=/dev/null ;;
		write-cached) set -- "$1" "$2" "$3" "$4" "$5" if=/dev/zero "of=$3" ;;
		esac
		taskset -c "$2" zemtest as "$1" dd "$6" "$7" $8 bs=$size count=64 "skip=$((turn % 8))" "seek=$((turn % 8))" conv=notrunc
		usleep 20000
	done >/dev/null 2>&1
}

# The second tracked disk, which is removed and added.
start_disk_that_goes()
{
	start_null_disk
	measure_what_the_kernel_keeps
	was_linked=$(readlink /dev/block/sde)
	ln -sf /dev/nullb0 /dev/block/sde
}

end_disk_that_goes()
{
	ln -sf "$was_linked" /dev/block/sde
	power 0
	reload_zem
	end_null_disk
}

# The kernel leaks some memory with each disk of this driver that is removed, even an untracked one.
measure_what_the_kernel_keeps()
{
	: >/tmp/returns
	give_back
	before=$(unreclaimable)
	for round in $(seq 50); do
		power 0
		power 1
	done
	give_back
	kept_of_fifty=$(($(unreclaimable) - before))
}

unreclaimable()
{
	memory | sed -n 's/^Slab_unreclaimable_kB //p'
}

kept_by_the_kernel()
{
	echo $(($(wc -l </tmp/returns) * kept_of_fifty / 50))
}

# Remove and add the disk periodically.
come_and_go()
{
	while storming; do
		sleep 14
		power 0
		sleep 1
		power 1
		chmod 666 /dev/nullb0
		echo >>/tmp/returns
	done
}

random()
{
	awk -v seed="$1" -v most="$2" 'BEGIN { srand(seed); print int(rand() * most) }'
}

change_users()
{
	seed=0
	while storming; do
		seed=$((seed + 1))
		uid=$((first_user + $(random $seed 9)))
		echo "$uid $((seed % 2))" >$procstat/set
		[ $((seed % 5)) -ne 0 ] || echo "$uid-$((uid + 2))" >$procstat/remove_uid_range
		[ $((seed % 40)) -ne 0 ] || echo "0-9223372036854775807" >$procstat/remove_uid_range
		usleep 100000
	done
}

# Keep lines that do not have the expected form.
read_views()
{
	while storming; do
		cat $kioind/show1_diskstats | tail -n +6 | grep -v '^ *[^ ]*: \([0-9]* *\)\{11\}$' >>/tmp/torn
		cat $kioind/show2_uid_io | tail -n +3 | grep -v '^ *Top *[0-9]*: \([0-9]* *\)*$\|^$\|iowait/stats' >>/tmp/torn
		cat $kioind/show3_bio_time | grep -v '^$\|count: [0-9]*\|size: [0-9]\|size: 4k\|Q2C: \[\|READ\|^ *[^ ]*: \([0-9]* *|[0-9]* *\)\{7\} total_time_r:[0-9]* total_time_w:[0-9]*$' >>/tmp/torn
		echo >>/tmp/looks
		usleep 150000
	done
}

# Raise bios of the slot that no bucket has, and of the slot that two buckets have.
raise_slow_bios()
{
	while storming; do
		raise "vh_blk_bio_endio /dev/block/by-name/super 0 8 $((8 * 100000000)) 0x2000 0"
		raise "vh_blk_bio_endio /dev/block/by-name/super 1 8 $((8 * 600000000)) 0 0"
		echo >>/tmp/hand-made
		sleep 1
	done
}

# --- the account ----------------------------------------------------------------------------------

# The kernel's number of bios on the disks that stay: requests, and bios merged into them.
kernel_of_those_that_stay()
{
	sum=0
	for disk in /dev/block/sda /dev/block/by-name/super /dev/block/by-name/userdata; do
		sum=$((sum + $(awk -v number="$(disk_number $disk)" '$1 ":" $2 == number { print $4 + $5 + $8 + $9 }' /proc/diskstats)))
	done
	echo $sum
}

# What is not collected is added to the next snapshot.
start_collecting()
{
	set_file kioind_interval 1
}

stop_collecting()
{
	set_file kioind_interval 0
}

# Replaces the function of soak.sh, before a capture is deleted.
examine_capture()
{
	zemtest kio-sums /tmp/ended >>/tmp/kio-sums
	lost=$((lost + $(sed -n 's/^.* bytes, \([0-9]*\) lost, .*/\1/p' /tmp/ended-summary | tail -n 1)))
}

collect_the_rest()
{
	start_capture
	start_collecting
	set_file trigger 1
	sleep 3
	end_capture
}

# sum_of NAME: print the sum over all captures.
sum_of()
{
	awk -F = -v name="$1" '$1 == name { sum += $2 } END { print sum + 0 }' /tmp/kio-sums
}

# The test has loaded the module, so its counters began at 0.
kernel_losses()
{
	for counter in records_overwritten records_dropped; do
		echo "$counter $(cat /sys/module/zem/counters/$counter)"
	done
}

records_add_up()
{
	unseen=$(($(sum_of bios) + $(sum_of twice) - $(sum_of fg) - $(sum_of bg)))
	hand_made=$(wc -l </tmp/hand-made)
	note "$(for name in records bios pages fg bg twice read_sizes uids device0 device1 device2 device3; do
		echo "$name=$(sum_of $name)"
	done | tr '\n' ' ') unseen=$unseen hand_made=$hand_made lost=$lost kernel=$((after - before))"
	is "lost" "$lost" 0
	is "lost in the kernel" "$(kernel_losses)" "records_overwritten 0
records_dropped 0"
	holds "records" "$(sum_of records)" -ge $((SOAK_SECONDS / 4))
	is "records that are no snapshots, or contradict themselves" "$(sum_of odd_sized) $(sum_of contradictory)" "0 0"
	holds "bios in two buckets" "$(sum_of twice)" -ge "$hand_made"
	holds "bios in no bucket" "$unseen" -ge "$hand_made"
	holds "users" "$(sum_of uids)" -gt 0
	for index in 0 1 2 3; do
		holds "bios of disk $index" "$(sum_of device$index)" -gt 100
	done
	stayed=$(($(sum_of device0) + $(sum_of device2) + $(sum_of device3)))
	kernel=$((after - before + 2 * hand_made))
	holds "bios of those that stayed" $stayed -ge $((kernel - unseen))
	holds "bios of those that stayed" $stayed -le $((kernel + $(sum_of twice)))
}

the_views_were_whole()
{
	note "$(wc -l </tmp/looks) looks, $(wc -l </tmp/returns) returns of the disk"
	holds "looks" "$(wc -l </tmp/looks)" -gt $((SOAK_SECONDS / 30))
	holds "returns" "$(wc -l </tmp/returns)" -gt $((SOAK_SECONDS / 40))
	is "lines that are none" "$(head -n 5 /tmp/torn)" ""
}

# The family still works as after load.
the_family_works()
{
	wait_until 30 no_collection_is_due || fail "the collector does not rest"
	echo 0-4294967295 >$procstat/remove_uid_range
	collect 1
	bio /dev/block/sda 0 200 2040000 0x2000
	bio /dev/block/by-name/userdata 0x801 200 20040000 0
	bios_are "view" 1 1 1 1 0
}

no_collection_is_due()
{
	set_file kioind_interval 0
	set_file sched_interval 0
	set_file svp_interval 0
	zemtest flush
}

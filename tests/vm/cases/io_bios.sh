# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
#
# Bios by device, direction and class, compared with bios raised by hand: the complete view of latencies and the
# complete record.

data=/dev/block/by-name/userdata

# ns for each page: one value well inside each relevant slot, and each a little above a multiple of the sums'
# unit.
below_1ms=530000 below_16ms=5030000 slot_24=20030000 slot_25=40030000 unseen=100030000 slot_27=200030000
slot_28=300030000 slot_29=600030000 slot_30=1200030000

# pages_of NS: as many pages as take three quarters of a minute, so that a delay of the machine does not change
# the time for each page. No bio can be older than the machine.
pages_of()
{
	pages=$((45000000000 / $1))
	[ $pages -lt 200 ] || pages=200
	echo $pages
}

# slow_bios DISK OPERATION FLAGS
slow_bios()
{
	for ns in $unseen $slot_27 $slot_28 $slot_29 $slot_30; do
		bio "$1" "$2" "$(pages_of "$ns")" "$ns" "$3"
	done
}

# Slot 26 is in no bucket and slot 29 in two, also in the totals of classes.
test_latencies_are_folded_into_seven_buckets()
{
	fresh_io
	for ns in $below_1ms $below_16ms $slot_24 $slot_25; do
		bio $data 0 200 $ns 0
		bio $data 0x801 200 $ns 0x2000
	done
	slow_bios $data 0 0
	slow_bios $data 0x801 0x2000
	latencies_are "view"
	is "totals" "$(sed -n '2,3p' /tmp/shown)" \
		"fg bio_count: 9; bg bio_count: 9
read bio count: 9; write sync bio count: 9; write async bio count: 0"
}

test_each_device_has_its_rows()
{
	fresh_io
	for disk in $disks; do
		for operation in 0 1; do
			for flags in 0 0x2000; do
				bio "$disk" $operation 200 $below_16ms $flags
			done
		done
		bio "$disk" 0 200 $below_1ms 0x2000
	done
	bio /dev/block/sde 0 200 $below_1ms 0x2000
	bio $data 1 200 $slot_24 0
	latencies_are "view"
}

test_the_mark_is_consumed_and_copied_to_clones()
{
	fresh_io
	bio $data 0 1 2000000 0x3000
	is "flags after the end" "$(cat $platform/bio_flags)" 1000
	raise "vh_blk_bio_clone $data 0x2001"
	is "flags of a clone" "$(cat $platform/bio_flags)" 2000
	raise "vh_blk_bio_clone $data 0xdfff"
	is "flags of another" "$(cat $platform/bio_flags)" 0
}

test_the_record_has_each_field_in_its_place_and_is_cleared()
{
	fresh_io
	echo 1 >$platform/long_iowait
	echo tail >>$done_io
	for index in 1 2 3 4; do
		disk=$(echo "$disks" | cut -d ' ' -f $index)
		bio "$disk" 0 200 $((index * 2000000 + 30000)) 0x2000
		bio "$disk" $((index % 2 ? 1 : 0x801)) $((200 + index)) $below_16ms 0
	done
	bio /dev/block/sde 0 "$(pages_of $slot_29)" $slot_29 0
	bio /dev/block/sda 0x801 "$(pages_of $slot_28)" $slot_28 0x2000
	note_disks
	collect 9
	contains "header" "$record" "$(header 5 9 3936)"
	snapshot_is "first" "$(payload_of "$record")"

	echo 0 >$platform/long_iowait
	bio $data 0 200 $below_1ms 0
	note_disks
	collect -10
	contains "header" "$record" "$(header 5 -10 3936)"
	snapshot_is "second" "$(payload_of "$record")"
	latencies_are "view"
}

# A look also ends an interval, but does not reset the totals.
test_a_record_after_a_look_has_the_totals_and_the_rest_of_the_interval()
{
	fresh_io
	bio /dev/block/sda 0 200 $below_16ms 0
	latencies_are "view"
	bio /dev/block/sda 0 200 $slot_24 0
	note_disks
	collect 1
	snapshot_is "record" "$(payload_of "$record")"
}

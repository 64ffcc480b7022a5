# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
#
# Bios by device, direction and class: the complete view of latencies and the complete record.

data=/dev/block/by-name/userdata

# wait_until_old: no bio can be older than the machine. The oldest of the scenario waited for three quarters of a
# minute.
wait_until_old()
{
	wait_until 60 machine_is_older 45000000000
}

test_latencies_are_folded_into_the_rows_of_devices()
{
	wait_until_old
	fresh_io
	play kio
	view_is_golden kio $kioind/show3_bio_time
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
	wait_until_old
	fresh_io
	play kio
	collect 9
	contains "header" "$record" "$(header 5 9 3936)"
	is "first" "$(payload_without_disks)" "$(golden_payload kio kio_record)"
	collect -10
	contains "header" "$record" "$(header 5 -10 3936)"
	is "second" "$(payload_without_disks)" "$(zeros 3936)"
	bios_are "view" 0 0 0 0 0
}

test_the_record_has_the_disks_statistics_and_the_long_waits()
{
	fresh_io
	echo 1 >$platform/long_iowait
	collect 1
	echo 0 >$platform/long_iowait
	payload=$(payload_of "$record") at=17
	for disk in $disks; do
		is "$disk" "$(echo "$payload" | cut -c $at-$((at + 175)))" "$(statistics_payload "$disk")"
		at=$((at + 496))
	done
	is "long waits" "$(echo "$payload" | cut -c 6513-)" \
		"$(awk 'BEGIN { for (i = 0; i < 680; i++) printf "%02x", (7 * i + 3) % 256 }')"
}

# statistics_payload DISK: print the kernel's statistics as the record has them.
statistics_payload()
{
	# shellcheck disable=SC2046 # numbers
	le 8 $(awk -v number="$(disk_number "$1")" '
		$1 ":" $2 == number { print $4, $5, $6, $7, $8, $9, $10, $11, 0, $13, 0 }' /proc/diskstats)
}

# A look also ends an interval, but does not reset the totals.
test_a_record_after_a_look_has_the_totals_and_the_rest_of_the_interval()
{
	fresh_io
	bio /dev/block/sda 0 200 5030000 0
	bios_are "view" 0 1 1 0 0
	bio /dev/block/sda 0 100 20030000 0
	collect 1
	is "bios and pages" "$(payload_of "$record" | cut -c 6321-6448)" "$(le 8 0 2 2 0 0 300 0 0)"
	is "time of reads" "$(payload_of "$record" | cut -c 337-352)" "$(le 8 200)"
}

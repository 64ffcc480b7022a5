# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
#
# When pollers of /sys/zem/trace are notified, and what happens to records while the buffer is full. A record of
# LEN bytes takes LEN + 32 of the 8192 bytes; the level is 7936.

# Push a record that takes that number of bytes in the shared buffer.
fill()
{
	for size in "$@"; do
		produce test 0 $((size - 32)) 1 cpu=0
	done
}

export_functions='
	fill() { for size in "$@"; do
		echo "test 0 $((size - 32)) 1 cpu=0" >/sys/kernel/debug/zem_platform/produce
	done; }'

# notified_by MS COMMAND
notified_by()
{
	zemtest notified "$1" "$export_functions
$2"
}

test_7937_bytes_notify()
{
	is "poll" "$(notified_by 20000 'fill 3968 3969')" notified
	is "bytes" "$(zemtest read $zem/trace)" "4:011f0000"
	log_is "nothing" ""
}

test_a_hand_back_in_time_lets_the_waiting_record_through()
{
	is "poll" "$(notified_by 20000 'fill 3968 3968 256')" notified
	is "before the record" "$(zemtest read $zem/usb)" "4:001f0000"
	contains "the record" "$(take 1)" " len=224 "
	log_is "nothing" ""
}

test_each_record_that_nobody_makes_room_for_is_dropped_after_5_seconds()
{
	fill 3968 3968 256 256
	awaits_log 30 "6 read data timeout, drop it" 2
	times=$(zemtest log --times "$log_mark" | sed 's/ .*//')
	apart=$(($(echo "$times" | tail -n 1) - $(echo "$times" | head -n 1)))
	holds "us between the two" $apart -ge 4900000
	holds "us between the two" $apart -le 9000000
	log_is "one message each" "6 read data timeout, drop it
6 read data timeout, drop it"
	is "the others are there" "$(zemtest read $zem/trace)" "4:001f0000"
}

# The rule uses the records' times, so a step of the clock replaces a wait.
test_records_16_seconds_after_a_notification_notify()
{
	is "at the level" "$(notified_by 20000 'fill 3968 3969')" notified
	take 2 >/dev/null
	zemtest shift-clock 12
	is "12 s later" "$(notified_by 1000 'fill 40')" quiet
	take 1 >/dev/null
	zemtest shift-clock 5
	is "17 s later" "$(notified_by 20000 'fill 40')" notified
	take 1 >/dev/null
	zemtest shift-clock 1
	is "1 s after that" "$(notified_by 1000 'fill 40')" quiet
	take 1 >/dev/null
	zemtest shift-clock -18
	is "with the clock set back" "$(notified_by 1000 'fill 40')" quiet
	take 1 >/dev/null
	log_is "nothing" ""
}

# The consumer is blocked in its wait while the producer continues.
test_the_oldest_records_make_way_in_a_full_ring()
{
	fill 3968 3969
	wait_until 10 pending 2
	produce test 2 468 200 cpu=3
	is "the first two" "$(take 2 | wc -l)" 2
	start_drain /tmp/newest
	produce test 2 468 1 cpu=3
	stop_drain
	found=$(zemtest verify /tmp/newest channel=11)
	records=$(echo "$found" | sed 's/records=\([0-9]*\).*/\1/;q')
	holds "records of a ring" "$records" -ge 14
	holds "records of a ring" "$records" -le 50
	contains "the newest, in order, without a gap" "$found" \
		"cpus=1 missing=0 repeated=0 out_of_order=0 torn=0 elsewhere=0 left_over=0"
	rm -f /tmp/newest
	log_is "nothing" ""
}

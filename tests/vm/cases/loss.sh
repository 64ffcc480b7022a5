# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
#
# Lost records are counted where they are lost, and zemctl reports them.

# shellcheck source=tests/vm/guest/zemctl_says.sh
. "$here/zemctl_says.sh"

counters=/sys/module/zem/counters
payload=64
# Bytes of a record with that payload.
record_bytes=96
last_cpu=${cpus##*[!0-9]}

# Print the sum of these counters' growth since count_from_here.
grown()
{
	sum=0
	for counter in "$@"; do
		sum=$((sum + $(cat $counters/"$counter") - $(cat /tmp/counters/"$counter")))
	done
	echo $sum
}

count_from_here()
{
	mkdir -p /tmp/counters
	for counter in "$counters"/*; do
		cat "$counter" >/tmp/counters/"${counter##*/}"
	done
}

lost_in_the_kernel()
{
	grown records_overwritten records_refused records_too_large records_dropped
}

kept()
{
	zemctl dump --json /tmp/capture 2>/dev/null | grep -c '"type":"record"'
}

has_dropped()
{
	[ "$(grown records_dropped)" -gt 0 ]
}

is_stopped()
{
	grep -q '^State:.*T' "/proc/$1/status"
}

# accounted_for COUNT: check that no record is pending any more.
accounted_for()
{
	[ $(($(kept) + $(lost_in_the_kernel))) -ge "$1" ]
}

# A storm without a reader: the ring overwrites, and after five seconds the consumer drops. Only two CPUs produce,
# because more would contend for the consumer's wake-up lock.
test_records_kept_and_lost_in_each_way_add_up_to_all()
{
	needs_zemctl || return
	count=$(rounds 2 5 | wc -w) each=10000
	[ ! -e /proc/lockdep ] || each=2000
	records=$((2 * count * each + 3))
	count_from_here
	rm -f /tmp/capture
	zemctl record --strict -o /tmp/capture >/tmp/summary 2>&1 &
	record=$!
	wait_until 30 test -s /tmp/capture || fail "record does not begin"
	# The arrival of the first record shows that the reader works.
	produce test 0 $payload 1 cpu=0
	wait_until 30 accounted_for 1 || fail "record does not read"
	kill -STOP $record
	wait_until 10 is_stopped $record || fail "record does not stop"

	for _ in $(seq $count); do
		produce test 0 $payload $each cpu=0 &
		other=$!
		produce test 0 $payload $each cpu="$last_cpu"
		wait $other
	done
	# One payload is too large for a sub-buffer of the ring, and one for any record.
	produce test 0 $((largest + 1)) 1
	produce test 0 7905 1
	wait_until 60 has_dropped || fail "nothing is dropped"
	kill -CONT $record
	wait_until 60 accounted_for $records || fail "records are neither kept nor lost"
	kill -INT $record
	wait $record
	is "status" $? 1

	# In bytes: the records between zemctl's last look and its hand-back.
	between=$(sed -n 's/^[0-9]* records, [0-9]* bytes, \([0-9]*\) lost.*/\1/p' /tmp/summary)
	lost=$(lost_in_the_kernel)
	is "kept and lost" $(($(kept) + lost + between / record_bytes)) $records
	is "pushed" $(($(grown records_pushed) + $(grown records_refused records_too_large))) $records
	holds "the ring was too small" "$(grown records_overwritten)" -gt 0
	is "refused" "$(grown records_refused)" 1
	is "too large" "$(grown records_too_large)" 1
	is "errors in the log" "$(log | grep '^[0-3] ')" "3 get ringbuffer fail event_len:$((largest + 33))
3 zem : too large data 7937 !"
	log_is_checked=1
	contains "summary" "$(cat /tmp/summary)" "in the kernel: $(grown records_pushed) records pushed,\
 $(grown records_overwritten) overwritten, 1 refused, 1 too large, $(grown records_dropped) dropped"
	contains "summary" "$(cat /tmp/summary)" "the records are not complete: $lost records lost in the kernel"
	contains "dump" "$(zemctl dump /tmp/capture 2>&1 >/dev/null)" "gap: "
	note "$(($(kept))) kept, $(grown records_overwritten) overwritten, $(grown records_dropped) dropped," \
		"$(grown notify_timeouts) notifications unanswered"
	rm -f /tmp/capture
}

# Two CPUs push as fast as they can, and a reader takes what it can. Each record is either in the capture or counted.
test_records_at_the_highest_rate_are_kept_or_counted()
{
	needs_zemctl || return
	each=20000
	[ ! -e /proc/lockdep ] || each=2000
	records=$((2 * each + 1))
	resize_ring 1048576
	count_from_here
	rm -f /tmp/capture
	zemctl record -o /tmp/capture >/tmp/summary 2>&1 &
	record=$!
	produce test 0 $payload 1 cpu=0
	wait_until 30 accounted_for 1 || fail "record does not read"

	begun=$(centiseconds_up)
	produce test 0 $payload $each cpu=0 &
	other=$!
	produce test 0 $payload $each cpu="$last_cpu"
	wait $other
	pushed=$(($(centiseconds_up) - begun))
	wait_until 120 accounted_for $records || fail "records are neither kept nor counted"
	took=$(($(centiseconds_up) - begun))
	# User and system time, in hundredths of a second.
	used=$(sed 's/.*) //' "/proc/$record/stat" | awk '{ print $12 + $13 }')
	kill -INT $record
	wait $record
	is "status" $? 0

	between=$(sed -n 's/^[0-9]* records, [0-9]* bytes, \([0-9]*\) lost.*/\1/p' /tmp/summary)
	is "kept and lost" $(($(kept) + $(lost_in_the_kernel) + between / record_bytes)) $records
	is "pushed" "$(grown records_pushed)" $records
	holds "zemctl reads" "$(kept)" -gt 1
	contains "dump" "$(zemctl dump --summary /tmp/capture)" "$(kept) records, "
	note "$records records pushed in ${pushed}0 ms and read in ${took}0 ms: $(kept) kept;" \
		"zemctl used ${used}0 ms of a CPU"
	rm -f /tmp/capture
}

test_status_shows_what_was_counted()
{
	needs_zemctl || return
	produce test 0 $payload 3
	status=$(zemctl status)
	contains "pushed" "$status" "pushed       $(cat $counters/records_pushed) records"
	json=$(zemctl status --json)
	contains "json" "$json" "\"records_pushed\":$(cat $counters/records_pushed),\"records_overwritten\":"
	reload_zem
	contains "after load" "$(zemctl status)" "lost         0 records: 0 overwritten, 0 refused, 0 too large, 0 dropped"
}

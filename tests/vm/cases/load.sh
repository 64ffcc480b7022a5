# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
#
# /proc/load_metrics: three switches, and the text that closes the sampling window, compared with activity,
# counters and run times set by hand. Complete texts.

test_there_are_four_files_with_their_modes()
{
	is "modes and names" "$(cd $load_views && stat -c '%a %n' -- * | sort -k 2)" "444 load_metrics
644 load_metrics_enabled
644 load_metrics_report
644 thread_metrics_enabled"
	reload_zem
	is "switches" "$(for switch in $load_switches; do shown "$switch"; done)" "1
.
0
.
0
."
	is "write" "$(zemtest store --only $load_views/load_metrics 1)" "1: EIO -"
}

test_the_switches_use_only_the_first_byte()
{
	for switch in $load_switches; do
		is_a_switch "$switch"
	done
	log_is "a switch says nothing" ""
}

test_the_text_shows_all_cpus_and_what_tasks_did()
{
	start_load_from_zero
	start_task sleepers 2
	other=${tasks#*
}
	echo "$task com.example.app" >$platform/package
	echo "$other org.example" >$platform/package
	echo "$other 10" >$platform/flags
	read_load
	# Full speed, half, a quarter, and none, over 1 ms of each CPU's own time.
	activity 0 2001000 2000000
	activity 1 1001000 2000000
	activity 3 1000 2000000
	activity 4 2801000 2000000
	activity 5 1401000 2000000
	activity 7 1001 2000000
	feed "$task" 0 3000000000
	feed "$task" 1 4000000000
	feed "$other" 1 5000000000
	set_counters "$task" 500000 700000 1 2 3 4 1000000 1000000
	set_counters "$other" 0 2800000 0 0 0 0 1000000 1000000
	read_load
	load_text_is "first" "$(cpu_line $capacity_0 $((capacity_0 / 2)) 0 0 45410 22705 0 0
		task_line "$task" 0 sleeper-0 "$task" com.example.app \
			"$(average 3000000000 4000000000)" $(((scale_0 / 2 * 1000 + 500 + scale_1 * 700) / 1000))
		task_line "$other" 1 sleeper-1 "$other" org.example "$(average 0 5000000000)" 45410)"
	read_load
	load_text_is "again" "$(cpu_line 0 0 0 0 0 0 0 0)"
}

test_run_time_of_all_threads_is_their_process_s()
{
	start_load_from_zero
	start_task second-thread
	thread=${tasks#*
}
	echo "$task the.process" >$platform/package
	echo "$thread the.thread" >$platform/package
	echo "$task 10" >$platform/flags
	set_counters "$thread" 2000000 0 0 0 0 0 1000000 0
	feed "$task" 0 3000000000
	feed "$thread" 0 4000000000
	read_load
	tasks_are "processes" "$(task_line "$task" 1 zemtest "$task" the.process "$(average 7000000000 0)" 0)"

	echo 1 >$load_views/thread_metrics_enabled
	set_counters "$thread" 6000000 0 0 0 0 0 3000000 0
	feed "$thread" 0 4000000000
	read_load
	tasks_are "threads" "$(task_line "$task" 1 zemtest "$task" the.process "$(average 4000000000 0)" 0
		task_line "$thread" 1 a-second-thread "$task" the.process 0 $capacity_0)"
	set_counters "$thread" 6500000 0 0 0 0 0 3500000 0
	read_load
	tasks_are "only the second" "$(task_line "$thread" 1 a-second-thread "$task" the.process 0 $scale_0)"
	echo 0 >$load_views/thread_metrics_enabled
	set_counters "$thread" 11000000 0 0 0 0 0 4500000 0
	read_load
	tasks_are "processes again" ""
	echo 1 >$load_views/thread_metrics_enabled
	read_load
	tasks_are "what was not looked at is not lost" \
		"$(task_line "$thread" 1 a-second-thread "$task" the.process 0 $((scale_0 * 4500 / 1000)))"
}

# start_many COUNT: start sleepers; $tasks. occupy_many ROUND: each has fully used its CPU of cluster 0.
start_many()
{
	start_task sleepers "$1"
	read_load
}

occupy_many()
{
	for task in $tasks; do
		set_counters "$task" $(($1 * 2000000)) 0 0 0 0 0 $(($1 * 1000000)) 0
	done
}

# lines_of_many: print the lines of the tasks in order.
lines_of_many()
{
	i=0
	for task in $tasks; do
		task_line "$task" 0 "sleeper-$i" "$task" "" 0 $capacity_0
		i=$((i + 1))
	done
}

# The kernel's buffer of a file is initially one page.
test_a_long_text_has_one_header_and_each_task_once()
{
	start_load_from_zero
	start_many 100
	lines_of_many >/tmp/wanted
	round=0
	for size in 1048576 4096 64; do
		round=$((round + 1))
		occupy_many $round
		dd if=$load_views/load_metrics bs=$size of=/tmp/load 2>/dev/null
		is "reads of $size: headers" "$(grep -n '^time:\|^cpu:' /tmp/load | cut -d : -f 1-2)" "1:time
2:cpu"
		holds "reads of $size: bytes" "$(wc -c </tmp/load)" -gt 5000
		tail -n +3 /tmp/load | cmp -s - /tmp/wanted ||
			fail "reads of $size: $(tail -n +3 /tmp/load | diff - /tmp/wanted | head -n 12)"
	done
}

# Other tasks start and exit meanwhile. The tasks that stay must all be shown.
test_concurrent_readers_do_not_disturb_each_other()
{
	start_load_from_zero
	start_many 80
	: >/tmp/reading
	readers=
	for reader in 1 2; do
		while [ -e /tmp/reading ]; do dd if=$load_views/load_metrics bs=50 2>/dev/null; done >/tmp/read-$reader &
		readers="$readers $!"
	done
	zemtest storm 2 2 >/dev/null &
	storm=$!
	occupy_many 1
	wait $storm
	rm -f /tmp/reading
	# shellcheck disable=SC2086 # ids
	wait $readers
	# Each value is consumed by one of the two.
	lines_of_many | sort >/tmp/wanted
	grep -h '^pid:.* comm:sleeper-' /tmp/read-1 /tmp/read-2 | sort >/tmp/got
	cmp -s /tmp/got /tmp/wanted || fail "tasks: $(diff /tmp/got /tmp/wanted | head -n 12)"
	is "first lines" "$(head -qn 2 /tmp/read-1 /tmp/read-2 | cut -c 1-4 | tr '\n' ' ')" "time cpu: time cpu: "
	is "lines that are none" "$(cat /tmp/read-1 /tmp/read-2 |
		grep -vc '^time: [0-9]* [0-9]*$\|^cpu:\([0-9]*([0-9]*%) \)*$\|^pid:[0-9]* 0 comm:sleeper-')" 0
}

# The text that is skipped has been formatted, and so consumed.
test_a_read_from_an_offset_is_the_rest_of_the_text()
{
	start_load_from_zero
	start_many 20
	occupy_many 1
	lines_of_many >/tmp/wanted
	dd if=$load_views/load_metrics bs=1 skip=300 of=/tmp/load 2>/dev/null
	got=$(wc -c </tmp/load) all=$(wc -c </tmp/wanted)
	tail -c "$got" /tmp/wanted | cmp -s - /tmp/load || fail "not the end of the lines: $(cat /tmp/load)"
	# The numbers of digits of the header's times vary.
	holds "header's bytes" $((got + 300 - all)) -ge 60
	holds "header's bytes" $((got + 300 - all)) -le 100
	read_load
	tasks_are "again" ""
}

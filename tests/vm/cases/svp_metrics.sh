# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
#
# /proc/svp_metrics: the SVP tasks that ran since the last read, as text that reading consumes.

none="0 0 0 0"

# text_is WHAT WANTED: compare a read of svp_metrics.
text_is()
{
	is "$1" "$(shown $svp_views/svp_metrics)" "$2"
}

# enrol PID: raise a run time of 0 ns, which counts in the first bucket.
enrol()
{
	raise "vh_sched_info_depart $1 0"
}

# enrolled_text PID NAME: print the text of a task that was only enrolled.
enrolled_text()
{
	svp_text "$1" "$1" "$2" "" "$none" 0 "1 0 0 0" 0 "$none" 0
}

test_there_are_two_files_with_their_modes()
{
	is "modes and names" "$(cd $svp_views && stat -c '%a %n' -- * | sort -k 2)" "444 svp_metrics
644 svp_metrics_enabled"
	is "without a task" "$(shown $svp_views/svp_metrics)" .
	is "switch" "$(shown $svp_views/svp_metrics_enabled)" "1
."
	is "write" "$(zemtest store --only $svp_views/svp_metrics 1)" "1: EIO -"
}

test_the_text_shows_every_counter_and_reading_consumes_it()
{
	start_svp_task
	echo "$task com.example.app" >$platform/package
	for ns in 1999999 2000000 9999999 10000000 19999999 20000000 3000000000; do
		raise "vh_rs_warn_set_svp_task $task"
		raise "rvh_sched_info_arrive $task $ns"
	done
	for ns in 4999999 5000000 14999999 15000000 29999999 30000000 3000000000; do
		raise "vh_sched_info_depart $task $ns"
	done
	for ns in 2999999 3000000 9999999 10000000 29999999 30000000 3000000000; do
		raise "vh_task_d_state_dura_record $task $ns"
	done
	is "listed" "$(field listed "$task")" 1
	text_is "text" "$(svp_text "$task" "$task" sleeper-0 com.example.app "1 2 2 2" 3063999997 "1 2 2 2" \
		3099999997 "1 2 2 2" 3085999997 && echo .)"
	is "listed" "$(field listed "$task")" 0
	text_is "again" .
	is "counters" "$(field runtime_total "$task") $(field runtime "$task")" "0 $none"
	enrol "$task"
	text_is "the next time it runs" "$(svp_text "$task" "$task" sleeper-0 com.example.app "$none" 0 "1 0 0 0" 0 \
		"$none" 0 && echo .)"
}

# read_of_sleepers COUNT: print one read of all, most recent first.
read_of_sleepers()
{
	start_task sleepers "$1"
	for task in $tasks; do
		echo "$task on" >$platform/svp
		enrol "$task"
	done
	i=$(($1 - 1))
	wanted=$(for task in $(echo "$tasks" | sort -rn); do
		enrolled_text "$task" "sleeper-$i"
		i=$((i - 1))
	done && echo .)
	cat $svp_views/svp_metrics >/tmp/text
	echo . >>/tmp/text
	echo "$wanted" >/tmp/wanted
	cmp /tmp/text /tmp/wanted || fail "not as wanted: $(diff /tmp/text /tmp/wanted | head -n 12)"
	holds "bytes" "$(wc -c </tmp/text)" -gt $(($1 * 1000))
	text_is "and nothing is left" .
}

test_thirty_tasks_in_one_read()
{
	read_of_sleepers 30
}

test_a_reader_of_short_pieces_loses_nothing()
{
	start_task sleepers 3
	for task in $tasks; do
		echo "$task on" >$platform/svp
		enrol "$task"
	done
	is "tasks" "$(dd if=$svp_views/svp_metrics bs=100 2>/dev/null | grep '^pid: ' | sort)" \
		"$(for task in $tasks; do echo "pid: $task"; done | sort)"
}

# The tasks that it leaves follow the tasks that enrol later.
test_a_reader_that_stops_early_leaves_the_rest_for_the_next()
{
	start_task sleepers 7
	late=$(echo "$tasks" | tail -n 1)
	for task in $tasks; do
		echo "$task on" >$platform/svp
		[ "$task" = "$late" ] || enrol "$task"
	done
	shown=$(dd if=$svp_views/svp_metrics bs=4096 count=1 2>/dev/null | sed -n 's/^pid: //p')
	holds "shown" "$(echo "$shown" | wc -w)" -ge 1
	holds "shown" "$(echo "$shown" | wc -w)" -lt 6
	enrol "$late"
	is "the rest" "$(sed -n 's/^pid: //p' $svp_views/svp_metrics)" \
		"$(echo "$late" && echo "$tasks" | sed '$d' | sort -rn | tail -n +$(($(echo "$shown" | wc -w) + 1)))"
	text_is "and nothing is left" .
	for task in $tasks; do
		is "listed" "$(field listed "$task")" 0
	done
}

# The task's record is kept until then. Its package is no longer looked up.
test_a_task_that_exited_while_listed_is_shown_and_released()
{
	start_svp_task
	echo "$task com.example.app" >$platform/package
	raise "vh_sched_info_depart $task 6000000"
	ended=$task
	end_tasks
	wait_until 20 has_ended "$ended" || fail "it does not end"
	wait_until 20 has_record_waiting || fail "no record waits: $(cat $platform/records)"
	text_is "text" "$(svp_text "$ended" "$ended" sleeper-0 "" "$none" 0 "0 1 0 0" 6000000 "$none" 0 && echo .)"
	wait_until 20 all_records_are_accounted_for || fail "a record is left: $(cat $platform/records)"
}

has_record_waiting()
{
	[ "$(sed -n 's/^waiting //p' $platform/records)" -gt 0 ]
}

# coldstart_is WHAT TOTAL COUNT COLD COLD_COUNT: compare the IO waits of the next text.
coldstart_is()
{
	is "$1" "$(sed -n 's/^iowait_total: //p; s/.*\(iowait_coldstart: \)/\1/p' $svp_views/svp_metrics)" \
		"$2 iowait_total_cnt: $3
iowait_coldstart: $4 iowait_coldstart_cnt $5"
}

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
	play sched svp="$task"
	is "listed" "$(field listed "$task")" 1
	svp_metrics_is_golden "$task"
	is "listed" "$(field listed "$task")" 0
	text_is "again" .
	is "counters" "$(field runtime_total "$task") $(field runtime "$task")" "0 $none"
	enrol "$task"
	is "the next time it runs" "$(grep '^runtime\|^run_delay' $svp_views/svp_metrics)" "run_delay_total: 0
run_delay[]: 0, 0, 0, 0, 
runtime_total: 0
runtime[]: 1, 0, 0, 0, "
}

# read_of_sleepers COUNT: print one read of all, most recent first.
read_of_sleepers()
{
	start_task sleepers "$1"
	for task in $tasks; do
		echo "$task on" >$platform/svp
		enrol "$task"
	done
	cat $svp_views/svp_metrics >/tmp/text
	i=$1
	is "tasks" "$(sed -n 's/^\(pid\|thread_name\): //p' /tmp/text)" \
		"$(for task in $(echo "$tasks" | sort -rn); do
			i=$((i - 1))
			printf '%s\n' "$task" "sleeper-$i"
		done)"
	is "lines" "$(wc -l </tmp/text)" $(($1 * $(wc -l <"$golden/sched/svp_metrics")))
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
	is "text" "$(grep '^pid\|_name\|^runtime' $svp_views/svp_metrics)" "pid: $ended
thread_name: sleeper-0
package_name: 
runtime_total: 6000000
runtime[]: 0, 1, 0, 0, "
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

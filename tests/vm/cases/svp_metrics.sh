# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
#
# /proc/svp_metrics: SVP tasks that ran since the last look, as text that reading consumes.

none="0 0 0 0"

# text_is WHAT WANTED: what a read of svp_metrics gives.
text_is()
{
	is "$1" "$(shown $svp_views/svp_metrics)" "$2"
}

# enrol PID: by a run time of 0 ns, which counts as one in the first bucket.
enrol()
{
	raise "vh_sched_info_depart $1 0"
}

# enrolled_text PID NAME: of one that was enrolled, with nothing else.
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

# Waits and blocks alone are kept until the task runs.
test_a_task_enrols_when_it_departs()
{
	start_svp_task
	raise "rvh_sched_info_arrive $task 2000000"
	raise "vh_task_d_state_dura_record $task 2000000"
	text_is "not yet" .
	raise "vh_sched_info_depart $task 7"
	raise "vh_sched_info_depart $task 7"
	text_is "once" "$(svp_text "$task" "$task" sleeper-0 "" "0 1 0 0" 2000000 "2 0 0 0" 14 "1 0 0 0" 2000000
		echo .)"
}

# read_of_sleepers COUNT: all in one read, the last that enrolled first.
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

test_twelve_tasks_in_one_read()
{
	read_of_sleepers 12
}

test_sixty_tasks_in_one_read()
{
	read_of_sleepers 60
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

test_off_stops_enrolment_and_what_is_listed_is_still_shown()
{
	start_task sleepers 2
	other=${tasks#*
}
	echo "$task on" >$platform/svp
	enrol "$task"
	echo 0 >$svp_views/svp_metrics_enabled
	echo "$other on" >$platform/svp
	enrol "$other"
	is "no counters are made" "$(field stats "$other")" 0
	is "not listed" "$(field listed "$other")" 0
	text_is "the first" "$(enrolled_text "$task" sleeper-0 && echo .)"
	enrol "$task"
	text_is "not any more" .

	# On again: listed, but without counters until it is announced again.
	echo 1 >$svp_views/svp_metrics_enabled
	enrol "$other"
	is "listed" "$(field listed "$other")" 1
	text_is "no counters" .
	is "let go" "$(field listed "$other")" 0
	raise "vh_rs_warn_set_svp_task $other"
	enrol "$other"
	text_is "the other" "$(enrolled_text "$other" sleeper-1 && echo .)"
}

test_a_task_that_is_not_svp_does_not_enrol()
{
	start_task sleepers 1
	raise "vh_rs_warn_set_svp_task $task"
	enrol "$task"
	is "counters" "$(field stats "$task")" 0
	is "listed" "$(field listed "$task")" 0
	echo "$task marked" >$platform/svp
	enrol "$task"
	text_is "nor does a marked one" .
	echo "$task on" >$platform/svp
	enrol "$task"
	echo "$task off" >$platform/svp
	enrol "$task"
	text_is "what was listed while it was" "$(enrolled_text "$task" sleeper-0 && echo .)"
}

test_package_names_are_cut_to_31_characters()
{
	start_svp_task
	for name in a.b 123456789.123456789.123456789.1 123456789.123456789.123456789.12 \
		123456789.123456789.123456789.123456789; do
		echo "$task $name" >$platform/package
		enrol "$task"
		contains "$name" "$(cat $svp_views/svp_metrics)" "
package_name: $(echo $name | cut -c 1-31)
"
	done
	echo "$task" >$platform/package
	enrol "$task"
	text_is "taken away" "$(enrolled_text "$task" sleeper-0 && echo .)"
}

test_the_package_is_that_of_the_leader()
{
	start_task second-thread
	thread=${tasks#*
}
	echo "$task the.process" >$platform/package
	echo "$thread the.thread" >$platform/package
	echo "$thread on" >$platform/svp
	enrol "$thread"
	text_is "thread" "$(svp_text "$task" "$thread" a-second-thread the.process "$none" 0 "1 0 0 0" 0 "$none" 0
		echo .)"
	echo "$task" >$platform/package
	enrol "$thread"
	contains "without the leader's" "$(cat $svp_views/svp_metrics)" "
package_name: 
"
}

test_a_zombie_has_no_package()
{
	start_task zombie
	echo "$task on" >$platform/svp
	echo "$task com.example.app" >$platform/package
	enrol "$task"
	text_is "text" "$(enrolled_text "$task" zemtest && echo .)"
}

# Its record holds it until then.
test_a_task_that_ended_while_listed_is_shown_and_let_go()
{
	start_svp_task
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

test_a_starting_app_does_not_hold_other_counters_back()
{
	start_task sleepers 1 10123
	echo "$task on" >$platform/svp
	for uid in 10123 -1; do
		echo 1 2 $uid >$platform/starting
		raise "vh_sched_info_depart $task 6000000"
		text_is "uid $uid" "$(svp_text "$task" "$task" sleeper-0 "" "$none" 0 "0 1 0 0" 6000000 "$none" 0
			echo .)"
	done
}

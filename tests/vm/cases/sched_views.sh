# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
#
# /proc/sched_metrics: sixteen views of the per-CPU histograms and their switch.

# each_view COMMAND...: call the command with each view.
each_view()
{
	for metric in $metrics; do
		for kind in '' _sum _sum_total _total; do
			"$@" "$(view "$metric" "$kind")"
		done
	done
}

# raise_each CPU: 250 ms of each metric.
raise_each()
{
	raise "cpu=$1 rvh_irqtime_account_hardirq 250000000"
	raise "cpu=$1 vh_sched_info_depart $task 250000000"
	raise "cpu=$1 rvh_sched_info_arrive $task 250000000"
	raise "cpu=$1 vh_task_d_state_dura_record $task 250000000"
}

test_there_are_seventeen_files_with_their_modes()
{
	wanted="644 sched_metrics_enabled
$(for metric in $metrics; do
		for kind in '' _sum _sum_total _total; do
			file=$(view "$metric" "$kind")
			echo "444 ${file##*/}"
		done
	done)"
	is "modes and names" "$(cd $sched_views && stat -c '%a %n' -- * | sort -k 2)" \
		"$(echo "$wanted" | sort -k 2)"
	is "number of files" "$(find $sched_views -type f | wc -l)" 17
}

test_totals_show_all_and_intervals_what_came_since_they_were_opened()
{
	start_from_zero
	start_svp_task
	play sched svp="$task"
	each_view view_is_golden sched
	for metric in $metrics; do
		is "$metric is closed" "$(cat "$(view "$metric" '')" "$(view "$metric" _sum)")" ""
	done
}

test_a_reader_of_single_bytes_gets_the_whole_text()
{
	start_from_zero
	start_svp_task
	play sched svp="$task"
	for file in sched_metrics_svp_rundelay sched_metrics_svp_rundelay_total; do
		dd if=$sched_views/$file bs=1 of=/tmp/shown 2>/dev/null
		cp "$golden/sched/$file" /tmp/wanted
		text_files_are $file
	done
	is "is closed" "$(cat "$(view svp_rundelay '')")" ""
}

test_the_switches_use_only_the_first_byte()
{
	is_a_switch $sched_views/sched_metrics_enabled
	is_a_switch $svp_views/svp_metrics_enabled
}

test_views_can_not_be_written()
{
	each_view is_read_only
}

is_read_only()
{
	is "$1" "$(zemtest store --only "$1" 1)" "1: EIO -"
}

test_off_stops_all_counting_and_keeps_what_was_counted()
{
	start_from_zero
	start_svp_task
	raise_each 3
	cat $sched_views/*_total >/tmp/wanted
	echo 0 >$sched_views/sched_metrics_enabled
	raise_each 3
	cat $sched_views/*_total >/tmp/shown
	text_files_are "off"
	is "the task's run time" "$(field runtime_total "$task")" 250000000
	is "the task's D state" "$(field d_state_duration_total "$task")" 250000000
	echo 1 >$sched_views/sched_metrics_enabled
	raise_each 2
	for metric in $metrics; do
		is "$metric" "$(count_in "$metric" 3 9) $(count_in "$metric" 2 9)" "1 1"
	done
}

test_a_wait_that_moved_with_its_task_counts_where_it_arrives()
{
	start_from_zero
	start_svp_task
	raise "cpu=1 rvh_sched_info_dequeued $task 300000"
	raise "cpu=2 rvh_sched_info_dequeued $task 100000"
	is "pending" "$(field pending_run_delay "$task")" 400000
	raise "cpu=6 rvh_sched_info_arrive $task 99999"
	is "499,999 ns" "$(count_in svp_rundelay 6 0)" 1
	is "none pending" "$(field pending_run_delay "$task")" 0
	# A pending wait counts without another wait. Without both nothing counts.
	raise "cpu=1 rvh_sched_info_dequeued $task 700000"
	raise "cpu=7 rvh_sched_info_arrive $task 0"
	raise "cpu=7 rvh_sched_info_arrive $task 0"
	is "700,000 ns" "$(count_in svp_rundelay 7 0) $(count_in svp_rundelay 7 1)" "0 1"
	is "where it waited before" "$(count_in svp_rundelay 1 0) $(count_in svp_rundelay 2 0)" "0 0"
	is "the task's" "$(field run_delay_total "$task")" 1199999
}

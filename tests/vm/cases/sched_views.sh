# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
#
# /proc/sched_metrics: sixteen views of the per-CPU histograms and their switch, compared with hooks raised by
# hand. Complete texts.

# totals_are WHAT METRIC: compare the two views since load with everything that was raised.
totals_are()
{
	is "$1: $2, total" "$(shown "$(view "$2" _total)")" "$(histogram "$2" _total)"
	is "$1: $2, sum total" "$(shown "$(view "$2" _sum_total)")" "$(sums "$2" _sum_total)"
}

# interval_reads WHAT TEXT VIEW_FILE: compare the next read of an interval view.
interval_reads()
{
	is "$1" "$(shown "$3")" "$2"
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
	for metric in $metrics; do
		raised "$metric" 4 9 300000000
	done
	cp /tmp/raised /tmp/raised-before
	for metric in $metrics; do
		interval_reads "$metric opens" . "$(view "$metric" '')"
		interval_reads "$metric sum opens" . "$(view "$metric" _sum)"
	done
	: >/tmp/raised
	for metric in $metrics; do
		raise_around_bounds "$metric"
	done
	for metric in $metrics; do
		interval_reads "$metric" "$(histogram "$metric" '')" "$(view "$metric" '')"
		interval_reads "$metric sum" "$(sums "$metric" _sum)" "$(view "$metric" _sum)"
	done
	cat /tmp/raised-before >>/tmp/raised
	for metric in $metrics; do
		totals_are "of both" "$metric"
	done
}

test_a_reader_of_single_bytes_gets_the_whole_text()
{
	start_from_zero
	start_svp_task
	interval_reads "opens" . "$(view svp_rundelay '')"
	raise_around_bounds svp_rundelay
	is "interval" "$(dd if="$(view svp_rundelay '')" bs=1 2>/dev/null && echo .)" "$(histogram svp_rundelay '')"
	interval_reads "and is closed" . "$(view svp_rundelay '')"
	is "total" "$(dd if="$(view svp_rundelay _total)" bs=1 2>/dev/null && echo .)" \
		"$(histogram svp_rundelay _total)"
}

test_the_switches_use_only_the_first_byte()
{
	is_a_switch $sched_views/sched_metrics_enabled
	is_a_switch $svp_views/svp_metrics_enabled
}

test_views_can_not_be_written()
{
	for metric in $metrics; do
		for kind in '' _sum _sum_total _total; do
			is "$metric$kind" "$(zemtest store --only "$(view "$metric" "$kind")" 1)" "1: EIO -"
		done
	done
}

test_off_stops_all_counting_and_keeps_what_was_counted()
{
	start_from_zero
	start_svp_task
	for metric in $metrics; do
		raised "$metric" 3 9 250000000
	done
	cp /tmp/raised /tmp/counted
	echo 0 >$sched_views/sched_metrics_enabled
	raise "cpu=3 rvh_irqtime_account_hardirq 250000000"
	for metric in svp_runtime svp_rundelay svp_d_state_duration; do
		raised "$metric" 3 9 250000000
	done
	cp /tmp/counted /tmp/raised
	for metric in $metrics; do
		totals_are "off" "$metric"
	done
	is "the task's run time" "$(field runtime_total "$task")" 250000000
	is "the task's D state" "$(field d_state_duration_total "$task")" 250000000
	echo 1 >$sched_views/sched_metrics_enabled
	for metric in $metrics; do
		raised "$metric" 2 9 250000000
		totals_are "on again" "$metric"
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
	echo "svp_rundelay 6 0 499999" >>/tmp/raised
	is "none pending" "$(field pending_run_delay "$task")" 0
	# A pending wait counts without another wait. Without both nothing counts.
	raise "cpu=1 rvh_sched_info_dequeued $task 700000"
	raise "cpu=7 rvh_sched_info_arrive $task 0"
	echo "svp_rundelay 7 1 700000" >>/tmp/raised
	raise "cpu=7 rvh_sched_info_arrive $task 0"
	totals_are "all" svp_rundelay
	is "the task's" "$(field run_delay_total "$task")" 1199999
}

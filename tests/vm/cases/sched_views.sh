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

test_a_fresh_module_shows_zeros()
{
	start_from_zero
	is "switch" "$(shown $sched_views/sched_metrics_enabled)" "1
."
	for metric in $metrics; do
		totals_are "fresh" "$metric"
	done
}

test_a_value_at_a_bound_counts_in_the_upper_bucket()
{
	start_from_zero
	start_svp_task
	for metric in $metrics; do
		raise_around_bounds "$metric"
	done
	for metric in $metrics; do
		totals_are "around all bounds" "$metric"
	done
}

# The sum of all CPUs exceeds the sum of their rounded milliseconds.
test_sums_are_whole_milliseconds_of_nanoseconds()
{
	start_from_zero
	start_svp_task
	for metric in $metrics; do
		raised "$metric" 0 "$(bucket_of_600_us "$metric")" 600000
		raised "$metric" 1 "$(bucket_of_600_us "$metric")" 600000
		raised "$metric" 2 "$(bucket_of_600_us "$metric")" 600000
		raised "$metric" 2 "$(bucket_of_600_us "$metric")" 600000
		raised "$metric" 5 9 4000999999
		totals_are "parts" "$metric"
	done
}

bucket_of_600_us()
{
	case $1 in
	irqtime) echo 4 ;;
	svp_rundelay) echo 1 ;;
	*) echo 0 ;;
	esac
}

test_the_first_read_opens_an_interval_and_the_second_shows_it()
{
	start_from_zero
	start_svp_task
	for metric in $metrics; do
		raised "$metric" 4 9 300000000
	done
	# Two rounds: the second does not include the first.
	for round in 1 2; do
		for metric in $metrics; do
			interval_reads "$round: $metric opens" . "$(view "$metric" '')"
			interval_reads "$round: $metric sum opens" . "$(view "$metric" _sum)"
		done
		: >/tmp/raised
		for metric in $metrics; do
			raise_around_bounds "$metric"
		done
		for metric in $metrics; do
			interval_reads "$round: $metric" "$(histogram "$metric" '')" "$(view "$metric" '')"
			interval_reads "$round: $metric sum" "$(sums "$metric" _sum)" "$(view "$metric" _sum)"
		done
	done
}

test_intervals_of_different_files_are_open_on_their_own()
{
	start_from_zero
	start_svp_task
	runtime=$(view svp_runtime '')
	sum=$(view svp_runtime _sum)
	interval_reads "histogram opens" . "$runtime"
	raised svp_runtime 1 2 6000000
	interval_reads "sum opens" . "$sum"
	interval_reads "histogram" "$(histogram svp_runtime '')" "$runtime"
	: >/tmp/raised
	raised svp_runtime 2 9 40000000
	interval_reads "sum" "$(sums svp_runtime _sum)" "$sum"
	interval_reads "histogram opens again" . "$runtime"
	interval_reads "and nothing has happened since" "$(: >/tmp/raised && histogram svp_runtime '')" "$runtime"
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

# The switch does not stop pending waits: they count when it is on again.
test_pending_waits_add_up_while_off()
{
	start_from_zero
	start_svp_task
	echo 0 >$sched_views/sched_metrics_enabled
	raise "rvh_sched_info_dequeued $task 2500000"
	raise "rvh_sched_info_arrive $task 1"
	is "still pending" "$(field pending_run_delay "$task")" 2500000
	echo 1 >$sched_views/sched_metrics_enabled
	raise "cpu=5 rvh_sched_info_arrive $task 500000"
	echo "svp_rundelay 5 4 3000000" >>/tmp/raised
	totals_are "after" svp_rundelay
}

test_a_task_that_is_not_svp_does_not_count_but_its_interrupts_do()
{
	start_from_zero
	start_task sleepers 1
	raise "cpu=1 vh_sched_info_depart $task 6000000"
	raise "cpu=1 vh_task_d_state_dura_record $task 6000000"
	raise "cpu=1 rvh_sched_info_dequeued $task 6000000"
	raise "cpu=1 rvh_sched_info_arrive $task 6000000"
	is "what was pending went with the arrival" "$(field pending_run_delay "$task")" 0
	raised irqtime 1 8 6000000
	for metric in $metrics; do
		totals_are "not SVP" "$metric"
	done
	echo "$task on" >$platform/svp
	raised svp_runtime 1 2 6000000
	echo "$task off" >$platform/svp
	raise "cpu=1 vh_sched_info_depart $task 6000000"
	totals_are "SVP for a while" svp_runtime
}

test_a_hundred_thousand_on_all_cpus_are_all_counted()
{
	start_from_zero
	start_svp_task
	raise "cpu=2 vh_sched_info_depart $task 3000000 times=100000"
	text=$(cat "$(view svp_runtime _total)")
	contains "count" "$text" "          100000 "
	contains "sum" "$(cat "$(view svp_runtime _sum_total)")" "          300000 "
	is "the task's" "$(field runtime "$task")" "100000 0 0 0"
}

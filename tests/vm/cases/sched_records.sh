# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
#
# The records of the scheduler families that a trigger causes, byte by byte. collector.sh tests those of the
# collector's thread.

none="0 0 0 0"

# with_intervals CYCLES: set both families. A running collector would take their records.
with_intervals()
{
	without_collector
	set_file sched_interval "$1"
	set_file svp_interval "$1"
}

test_a_trigger_uploads_the_families_in_their_order()
{
	start_from_zero
	start_svp_task
	with_intervals 1
	echo 1 >$platform/kmem
	echo "$task com.example.app" >$platform/package
	echo 1 22 333 4444 55555 >$platform/kzerod
	raised svp_runtime 2 2 6000000
	set_file trigger -77
	records_are "records" 4 "$(header 3 -77 864)$(awk 'BEGIN { for (i = 0; i < 864; i++) printf "%02x", (3 * i + 1) % 256 }')
$(sched_record -77)
$(svp_record -77 "$task" "$task" sleeper-0 com.example.app "$none" 0 "0 1 0 0" 6000000 "$none" 0)
$(kzerod_record -77 1 22 333 4444 55555)"
	: >/tmp/raised
	echo 0 >$platform/kmem
	set_file trigger 78
	records_are "without anything new" 2 "$(sched_record 78)
$(kzerod_record 78 1 22 333 4444 55555)"
}

test_svp_records_have_each_counter_in_its_place()
{
	without_collector
	start_svp_task
	set_file svp_interval 1
	for ns in 1 2000000 2000000 10000000 10000000 10000000 20000000; do
		raise "rvh_sched_info_arrive $task $ns"
	done
	for ns in 2 3 5000000 15000000 15000000 30000000 70000000000; do
		raise "vh_sched_info_depart $task $ns"
	done
	for ns in 4 5 6 3000000 10000000 30000000 30000000; do
		raise "vh_task_d_state_dura_record $task $ns"
	done
	set_file trigger 5
	records_are "record" 2 "$(svp_record 5 "$task" "$task" sleeper-0 "" "1 2 3 1" 54000001 "2 1 2 2" 70065000005 \
		"3 1 1 2" 73000015)
$(kzerod_record 5 $none 0)"
}

test_svp_records_of_many_tasks_are_in_reverse_order_of_enrolment()
{
	without_collector
	start_task sleepers 12
	set_file svp_interval 1
	for task in $tasks; do
		echo "$task on" >$platform/svp
		echo "$task 123456789.123456789.123456789.12" >$platform/package
		raise "vh_sched_info_depart $task $task"
	done
	set_file trigger 6
	i=11
	records_are "records" 13 "$(for task in $(echo "$tasks" | sort -rn); do
		svp_record 6 "$task" "$task" "sleeper-$i" 123456789.123456789.123456789.1 "$none" 0 "1 0 0 0" \
			"$task" "$none" 0
		i=$((i - 1))
	done)
$(kzerod_record 6 $none 0)"
	set_file trigger 7
	records_are "nothing is left" 1 "$(kzerod_record 7 $none 0)"
}

test_reading_the_text_consumes_what_the_record_would_have()
{
	without_collector
	start_svp_task
	set_file svp_interval 1
	raise "vh_sched_info_depart $task 6000000"
	cat $svp_views/svp_metrics >/dev/null
	set_file trigger 8
	records_are "records" 1 "$(kzerod_record 8 $none 0)"
}

test_sched_records_have_each_bucket_and_each_cpu()
{
	start_from_zero
	start_svp_task
	set_file sched_interval 1
	for metric in $metrics; do
		raise_around_bounds "$metric"
	done
	set_file trigger 9
	records_are "first" 2 "$(sched_record 9)
$(kzerod_record 9 $none 0)"

	: >/tmp/raised
	for metric in $metrics; do
		raised "$metric" 6 9 1024000000
	done
	set_file trigger 10
	records_are "what came since" 2 "$(sched_record 10)
$(kzerod_record 10 $none 0)"
	: >/tmp/raised
	set_file trigger 11
	records_are "nothing since" 2 "$(sched_record 11)
$(kzerod_record 11 $none 0)"
}

# A remainder that one record drops is not added to the next record.
test_sched_times_are_in_units_of_1024_ns_cut_after_the_difference()
{
	start_from_zero
	start_svp_task
	set_file sched_interval 1
	for number in 1 2 3; do
		: >/tmp/raised
		raised svp_runtime 0 0 1023
		raised svp_runtime 1 0 1025
		raised svp_runtime 2 0 512
		set_file trigger $number
		records_are "round $number" 2 "$(sched_record $number)
$(kzerod_record $number $none 0)"
	done
}

# An interval view keeps its own snapshot.
test_reading_interval_views_does_not_affect_the_records()
{
	start_from_zero
	start_svp_task
	set_file sched_interval 1
	cat "$(view svp_runtime '')"
	raised svp_runtime 1 1 2000000
	holds "shown" "$(cat "$(view svp_runtime '')" | wc -l)" -eq 12
	set_file trigger 3
	records_are "record" 2 "$(sched_record 3)
$(kzerod_record 3 $none 0)"
}

test_kzerod_records_carry_the_counters_with_their_sign()
{
	for values in "0 0 0 0 0" "1 2 3 4 5" "-1 -2 -3 -4 -5" \
		"2147483647 -2147483648 2147483647 -2147483648 -1"; do
		echo "$values" >$platform/kzerod
		set_file trigger 1
		set_file trigger 2
		# shellcheck disable=SC2086 # words
		records_are "$values, twice" 2 "$(kzerod_record 1 $values)
$(kzerod_record 2 $values)"
	done
}

test_intervals_skip_triggers()
{
	start_from_zero
	start_svp_task
	with_intervals 2
	: >/tmp/raised
	for number in 1 2 3 4; do
		raise "vh_sched_info_depart $task 0"
		set_file trigger $number
	done
	zemtest take 8 >/tmp/records
	is "channels and triggers" "$(sed 's/channel=\([0-9]*\) .*train_number=\([0-9]*\) .*/\1:\2/' /tmp/records | tr '\n' ' ')" \
		"12:1 4:2 14:2 12:2 12:3 4:4 14:4 12:4 "
	contains "both times are in it" "$(grep -m 1 channel=14 /tmp/records)" "$(zeros 8)$(le 4 2 0 0 0)"
	with_intervals 0
	set_file trigger 5
	set_file trigger 6
	is "off" "$(take 2 | grep -vc channel=12)" 0
}

test_with_trace_off_a_trigger_consumes_nothing()
{
	without_collector
	start_from_zero
	start_svp_task
	raised svp_runtime 4 2 6000000
	# Expires at the second trigger, but not in the first cycle of the collector that trace_on starts.
	set_file trigger 19
	is "not due yet" "$(take 1)" "$(kzerod_record 19 $none 0)"
	with_intervals 2
	set_file trace_on 0
	set_file trigger 20
	is "still listed" "$(field listed "$task")" 1
	set_file trace_on 1
	set_file trigger 21
	records_are "records" 3 "$(sched_record 21)
$(svp_record 21 "$task" "$task" sleeper-0 "" "$none" 0 "0 1 0 0" 6000000 "$none" 0)
$(kzerod_record 21 $none 0)"
}

# Hooks raised before a load of zem are not in its first record.
test_priming_at_load_takes_the_baselines()
{
	start_svp_task
	raise "vh_sched_info_depart $task 6000000"
	raise "rvh_irqtime_account_hardirq 6000000"
	echo "3 987654321" >$platform/irqtime
	reload_zem
	set_file kioind_interval 0
	: >/tmp/raised
	with_intervals 1
	set_file trigger 2
	records_are "records" 2 "$(sched_record 2)
$(kzerod_record 2 $none 0)"
}

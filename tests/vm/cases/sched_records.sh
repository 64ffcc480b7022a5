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
	set_file trigger 10
	records_are "nothing since" 2 "$(sched_record 10)
$(kzerod_record 10 $none 0)"
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

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
	play sched svp="$task"
	set_file trigger -77
	records_are "records" 4 "$(header 3 -77 864)$(awk 'BEGIN { for (i = 0; i < 864; i++) printf "%02x", (3 * i + 1) % 256 }')
$(header 4 -77 496)$(golden_payload sched sched_record)
$(header 14 -77 456)$(golden_svp_payload "$task")
$(kzerod_record -77 1 22 333 4444 55555)"
	echo 0 >$platform/kmem
	set_file trigger 78
	records_are "without anything new" 2 "$(header 4 78 496)$(zeros 496)
$(kzerod_record 78 1 22 333 4444 55555)"
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
	with_intervals 1
	set_file trigger 2
	records_are "records" 2 "$(header 4 2 496)$(zeros 496)
$(kzerod_record 2 $none 0)"
}

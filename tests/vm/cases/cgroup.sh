# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
#
# /proc/cgroup_metrics and the cgroup records: the increase of the health sums since the last sample, by any
# reader. Complete texts, and records byte by byte.

none="0 0 0 0"

# start_cgroup_from_zero CYCLES: a record for every CYCLES triggers, and no other samples.
start_cgroup_from_zero()
{
	without_collector
	set_file cgroup_interval "$1"
	start_in_groups
	start_health_from_zero
}

test_there_are_two_files_with_their_modes()
{
	is "modes and names" "$(cd $cgroup_views && stat -c '%a %n' -- * | sort -k 2)" "444 cgroup_metrics
644 cgroup_metrics_enabled"
	reload_zem
	is "switch" "$(shown $cgroup_views/cgroup_metrics_enabled)" "1
."
	is "write" "$(zemtest store --only $cgroup_views/cgroup_metrics 1)" "1: EIO -"
	cgroup_is "fresh" "$(for name in $groups_of_cgroup; do echo "$name 0 0 0"; done)"
}

test_the_switch_uses_only_the_first_byte()
{
	is_a_switch $cgroup_views/cgroup_metrics_enabled
	log_is "it says nothing" ""
}

test_the_text_has_its_seven_lines()
{
	start_cgroup_from_zero 0
	raise "cpu=5 sched_stat_wait $in_top 123456789012"
	cgroup_is "text" "all 123456789012 0 0
root 0 0 0
fg 0 0 0
top 123456789012 0 0
bg 0 0 0
sysbg 0 0 0
svp 123456789012 0 0"
}

test_the_text_has_each_sum_in_its_place()
{
	start_cgroup_from_zero 0
	play_health
	view_is_golden health $cgroup_views/cgroup_metrics
}

test_records_have_each_sum_in_its_place()
{
	start_cgroup_from_zero 1
	for round in 5 6; do
		play_health
		set_file trigger $round
		records_are "$round" 2 "$(header 18 $round 280)$(golden_payload health cgroup_record)
$(kzerod_record $round $none 0)"
	done
	set_file trigger 7
	records_are "nothing since" 2 "$(cgroup_record 7)
$(kzerod_record 7 $none 0)"
	log_is "nothing" ""
}

# Loading zem takes the first sample without uploading it.
test_priming_at_load_uploads_nothing()
{
	start_from_zero
	set_file cgroup_interval 1
	usleep 200000
	is "nothing was recorded" "$(zemtest read $zem/cgroup)" "0:"
	set_file trigger 2
	records_are "records" 2 "$(cgroup_record 2)
$(kzerod_record 2 $none 0)"
}

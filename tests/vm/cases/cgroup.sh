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
	: >/tmp/noted
	cgroup_is "fresh" "$(cgroup_text)"
}

test_the_switch_uses_only_the_first_byte()
{
	is_a_switch $cgroup_views/cgroup_metrics_enabled
	log_is "it says nothing" ""
}

# Raise one value for each sum, on one CPU after the other.
fill_all_places()
{
	waited 0 "$in_root" $(($1 + 1)) root
	waited 1 "$in_fg" $(($1 + 20)) fg
	waited 2 "$in_top" $(($1 + 300)) top svp
	waited 3 "$in_bg" $(($1 + 4000)) bg
	waited 4 "$in_sysbg" $(($1 + 50000)) sysbg
	slept_else 5 "$in_root" $(($1 + 600000)) root
	slept_else 6 "$in_fg" $(($1 + 7000000)) fg
	slept_else 7 "$in_top" $(($1 + 80000000)) top svp
	slept_else 0 "$in_bg" $(($1 + 900000000)) bg
	slept_else 1 "$in_sysbg" $(($1 + 1000000000)) sysbg
	for task in $in_root $in_fg $in_top $in_bg $in_sysbg; do
		echo "$task on" >$platform/iowait
	done
	slept_io 2 "$in_root" $(($1 + 21)) root
	slept_io 3 "$in_fg" $(($1 + 32)) fg
	slept_io 4 "$in_top" $(($1 + 43)) top svp
	slept_io 5 "$in_bg" $(($1 + 54)) bg
	slept_io 6 "$in_sysbg" $(($1 + 1234567890123)) sysbg
	for task in $in_root $in_fg $in_top $in_bg $in_sysbg; do
		echo "$task off" >$platform/iowait
	done
}

test_the_text_has_its_seven_lines()
{
	start_cgroup_from_zero 0
	waited 5 "$in_top" 123456789012 top svp
	cgroup_is "text" "all 123456789012 0 0
root 0 0 0
fg 0 0 0
top 123456789012 0 0
bg 0 0 0
sysbg 0 0 0
svp 123456789012 0 0"
}

test_records_have_each_sum_in_its_place()
{
	start_cgroup_from_zero 1
	for round in 5 6; do
		: >/tmp/noted
		fill_all_places $round
		set_file trigger $round
		records_are "$round" 2 "$(cgroup_record $round)
$(kzerod_record $round $none 0)"
	done
	: >/tmp/noted
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
	: >/tmp/noted
	set_file trigger 2
	records_are "records" 2 "$(cgroup_record 2)
$(kzerod_record 2 $none 0)"
}

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

test_the_text_shows_what_came_since_the_text_before()
{
	start_cgroup_from_zero 0
	for round in 0 1000; do
		: >/tmp/noted
		fill_all_places $round
		cgroup_is "$round" "$(cgroup_text)"
		: >/tmp/noted
		cgroup_is "$round, again" "$(cgroup_text)"
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

test_text_and_records_share_the_interval()
{
	start_cgroup_from_zero 1
	waited 1 "$in_fg" 1000 fg
	set_file trigger 1
	records_are "the record's" 2 "$(cgroup_record 1)
$(kzerod_record 1 $none 0)"
	: >/tmp/noted
	waited 2 "$in_bg" 2000 bg
	cgroup_is "the text's" "$(cgroup_text)"
	: >/tmp/noted
	waited 3 "$in_bg" 3000 bg
	set_file trigger 2
	records_are "what came since the text" 2 "$(cgroup_record 2)
$(kzerod_record 2 $none 0)"
}

test_off_keeps_the_interval_for_the_next_record()
{
	start_cgroup_from_zero 1
	waited 1 "$in_fg" 1000 fg
	echo 0 >$cgroup_views/cgroup_metrics_enabled
	set_file trigger 1
	records_are "off" 1 "$(kzerod_record 1 $none 0)"
	waited 2 "$in_fg" 200 fg
	echo 1 >$cgroup_views/cgroup_metrics_enabled
	waited 3 "$in_fg" 30 fg
	set_file trigger 2
	records_are "all since" 2 "$(cgroup_record 2)
$(kzerod_record 2 $none 0)"

	: >/tmp/noted
	echo 0 >$cgroup_views/cgroup_metrics_enabled
	waited 4 "$in_fg" 4 fg
	cgroup_is "the text works without" "$(cgroup_text)"
}

# The numbers of a record are unsigned.
test_restarted_sums_wrap_once()
{
	start_cgroup_from_zero 1
	waited 1 "$in_fg" 1000 fg
	cat $cgroup_views/cgroup_metrics >/dev/null
	echo 7 >$health_views/sched_healthinfo_enable
	waited 2 "$in_fg" 300 fg
	waited 2 "$in_bg" 5 bg
	cgroup_is "text" "all 18446744073709550921 0 0
root 0 0 0
fg 18446744073709550916 0 0
top 0 0 0
bg 5 0 0
sysbg 0 0 0
svp 0 0 0"
	: >/tmp/noted
	waited 2 "$in_fg" 7 fg
	cgroup_is "after it" "$(cgroup_text)"
	echo 1 >$health_views/sched_healthinfo_enable
	echo "0 all 1 -312
0 fg 1 -307
0 bg 1 -5" >/tmp/noted
	set_file trigger 2
	records_are "record" 2 "$(cgroup_record 2)
$(kzerod_record 2 $none 0)"
}

# The health switch stops the sums, but not the samples.
test_without_health_the_records_are_of_zeros()
{
	start_cgroup_from_zero 1
	echo 0 >$health_views/sched_healthinfo_enable
	raise "sched_stat_wait $in_fg 5"
	set_file trigger 3
	records_are "records" 2 "$(cgroup_record 3)
$(kzerod_record 3 $none 0)"
}

test_intervals_skip_triggers()
{
	start_cgroup_from_zero 3
	for number in 1 2 3 4; do
		waited 3 "$in_fg" $number fg
		set_file trigger $number
	done
	: >/tmp/noted
	note_health 1 3 "$in_fg" 6 fg
	records_are "the third" 5 "$(kzerod_record 1 $none 0
		kzerod_record 2 $none 0
		cgroup_record 3
		kzerod_record 3 $none 0
		kzerod_record 4 $none 0)"
	set_file cgroup_interval 0
	for number in 5 6 7; do
		set_file trigger $number
	done
	is "off" "$(take 3 | grep -vc channel=12)" 0
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

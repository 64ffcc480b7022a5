# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
# guest: --smp 12
#
# More CPUs than a phone has.

test_all_twelve_cpus_produce_in_all_contexts()
{
	is "CPUs" "$(echo "$cpus" | wc -w)" 12
	for context in task softirq hardirq; do
		for cpu in $cpus; do
			produce fs 1 20 1 cpu=$cpu context=$context
		done
		is "$context" "$(take 12 | sed 's/.* \(cpu=[0-9]*\) context/\1 context/' | sort)" \
			"$(for cpu in $cpus; do echo "cpu=$cpu context=$context"; done | sort)"
	done
}

test_the_ring_size_is_logged_for_all_twelve()
{
	size=$(get_file rb_size)
	is "lines" "$(log)" "$(for cpu in $cpus; do echo "6 cpu $cpu rb_size = $size"; done)"
}

test_unloading_works()
{
	reload_zem
	produce test 0 4 1 cpu=11
	is "record" "$(take 1 | wc -l)" 1
}

test_views_show_all_twelve_and_their_sum()
{
	start_from_zero
	start_svp_task
	for metric in $metrics; do
		cat "$(view "$metric" '')" "$(view "$metric" _sum)"
	done
	for metric in $metrics; do
		for cpu in $cpus; do
			raised "$metric" "$cpu" 9 $(((cpu + 1) * 1000000000))
		done
		is "$metric" "$(shown "$(view "$metric" _total)")" "$(histogram "$metric" _total)"
		is "$metric, sum" "$(shown "$(view "$metric" _sum_total)")" "$(sums "$metric" _sum_total)"
		is "$metric, interval" "$(shown "$(view "$metric" '')")" "$(histogram "$metric" '')"
		is "$metric, sum interval" "$(shown "$(view "$metric" _sum)")" "$(sums "$metric" _sum)"
	done
	# The record has entries for eight CPUs; the sum includes all.
	set_file sched_interval 1
	set_file trigger 3
	is "record" "$(take 2 | head -n 1)" "$(sched_record 3)"
}

test_live_hooks_on_all_twelve()
{
	echo 1 >$platform/live
	for cpu in $cpus; do
		start_stopped spin "$cpu" 500
		echo "$task on" >$platform/svp
		spinners="$spinners $task"
	done
	for metric in $metrics; do
		cat "$(view "$metric" _sum)"
	done
	# shellcheck disable=SC2086 # ids
	kill -CONT $spinners
	usleep 500000
	for pid in $spinners; do
		wait_until 60 is_stopped "$pid" || fail "$pid does not stop"
	done
	sum=$(sed -n 3p "$(view svp_runtime _sum)")
	note "ms of the CPUs and all:" $sum
	is "CPUs on which an SVP task ran, and their sum" "$(echo "$sum" | awk '{ for (i = 1; i <= NF; i++) n += $i > 20; print n }')" 13
	set_file svp_interval 1
	set_file trigger 1
	is "records" "$(take 13 | cut -d ' ' -f 1 | sort | uniq -c | awk '{ print $2, $1 }')" "channel=12 1
channel=14 12"
}

# Eight have an entry in the text and a record. Each package has six CPUs.
test_eight_of_the_twelve_have_a_load()
{
	start_load_from_zero
	for cpu in $cpus; do
		activity "$cpu" 2001000 2000000
	done
	read_load
	load_text_is "text" "$(cpu_line $capacity_0 $capacity_0 $capacity_0 $capacity_0 $capacity_0 $capacity_0 \
		$((scale_1 * 2)) $((scale_1 * 2)))"
	echo 1 >$load_views/load_metrics_report
	set_file load_interval 1
	set_file trigger 4
	records_are "records" 9 "$(for cpu in 0 1 2 3 4 5 6 7; do
		cpu_record 4 $cpu 2001000 0
	done
	kzerod_record 4 0 0 0 0 0)"
}

test_the_health_of_all_twelve_is_shown_and_summed()
{
	start_in_groups
	start_health_from_zero
	for cpu in $cpus; do
		waited "$cpu" "$in_fg" $((cpu + 1)) fg
		slept_else "$cpu" "$in_top" $((cpu * 100 + 1)) top svp
	done
	health_is "all"
	set_file cgroup_interval 1
	set_file trigger 3
	records_are "record" 2 "$(cgroup_record 3)
$(kzerod_record 3 0 0 0 0 0)"
}

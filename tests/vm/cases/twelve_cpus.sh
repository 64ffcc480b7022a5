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
	for cpu in $cpus; do
		ns=$(((cpu + 1) * 1000000000))
		raise "cpu=$cpu rvh_irqtime_account_hardirq $ns"
		echo "$cpu $ns" >$platform/irqtime
		raise "cpu=$cpu vh_sched_info_depart $task $ns"
		raise "cpu=$cpu rvh_sched_info_arrive $task $ns"
		raise "cpu=$cpu vh_task_d_state_dura_record $task $ns"
	done
	for metric in $metrics; do
		for kind in '' _total; do
			is "$metric$kind, rows" "$(sed -n 's/^ *cpu \([0-9]*\):.* \([0-9]*\) $/\1 \2/p' \
				"$(view "$metric" "$kind")")" "$(for cpu in $cpus; do echo "$cpu 1"; done)"
		done
		for kind in _sum _sum_total; do
			is "$metric$kind" "$(sed -n 3p "$(view "$metric" $kind)" | tr -s ' ')" \
				" $(seq -s ' ' 1000 1000 12000) 78000"
		done
		is "$metric, all" "$(sed -n 's/^ *cpu:.* \([0-9]*\) $/\1/p' "$(view "$metric" _total)")" 12
	done
	# The record has entries for eight CPUs; the sum includes all. Times are in units of 1024 ns.
	set_file sched_interval 1
	set_file trigger 3
	is "record" "$(take 2 | head -n 1)" "$(header 4 3 496)$(zeros 192)$(for metric in $metrics; do
		# shellcheck disable=SC2046 # numbers
		le 4 0 0 0 0 0 0 0 0 0 12 $(seq 8 | awk '{ printf "%d ", $1 * 1000000000 / 1024 }') $((78000000000 / 1024))
	done)"
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
		raise "cpu=$cpu sched_stat_wait $in_fg $((cpu + 1))"
		raise "cpu=$cpu sched_stat_blocked $in_top $((cpu * 100 + 1))"
	done
	for cpu in $cpus; do
		is "CPU $cpu" "$(health_of lat "CPU$cpu" | cut -d , -f 3) $(health_of d_nonio "CPU$cpu" | cut -d , -f 4)" \
			" fg $((cpu + 1))  top $((cpu * 100 + 1))"
	done
	is "sum" "$(health_of lat)" "total 78, root 0, fg 78, top 0, bg 0, sysbg 0, svp 0"
	set_file cgroup_interval 1
	set_file trigger 3
	records_are "record" 2 "$(cgroup_record 3 "all 78 0 6612" "fg 78 0 0" "top 0 0 6612" "svp 0 0 6612")
$(kzerod_record 3 0 0 0 0 0)"
}

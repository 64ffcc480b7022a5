# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
#
# A storm of the switches of the load, health and cgroup families. All are switched off and on, the sums
# restart, and the thread mode changes, while tasks live in all groups, three readers read the texts, the
# collector and a trigger every second upload, and zemctl records.

test_a_storm_of_switches_leaves_no_memory_behind_and_the_families_work()
{
	echo 1 >/proc/sys/kernel/sched_schedstats
	echo 1 >$platform/live
	set_file load_interval 1
	set_file cgroup_interval 1
	resize_ring 262144
	set_file trace_on 0
	set_file trace_on 1
	storms_leave_no_memory_behind
	count_texts
	the_families_work
}

start_parts()
{
	start_lives top-app "$1" 2
	start_lives foreground "$1" 1
	start_lives background "$1" 1
	start_lives system-background "$1" 1
	trigger_every_second &
	parts="$parts $!"
	flip_load_switches &
	parts="$parts $!"
	restart_health &
	parts="$parts $!"
	read_texts 1 1048576 100000 &
	parts="$parts $!"
	read_texts 2 64 200000 &
	parts="$parts $!"
	read_sums &
	parts="$parts $!"
}

# Each switch has its own period, so that all combinations occur.
flip_load_switches()
{
	turn=0
	while storming; do
		turn=$((turn + 1))
		echo $((turn % 2)) >$load_views/load_metrics_enabled
		echo $((turn / 3 % 2)) >$load_views/thread_metrics_enabled
		[ $((turn % 8)) -ne 0 ] || echo 0 >$load_views/load_metrics_report
		[ $((turn % 8)) -ne 2 ] || echo 1 >$load_views/load_metrics_report
		[ $((turn % 10)) -ne 0 ] || echo 0 >$cgroup_views/cgroup_metrics_enabled
		[ $((turn % 10)) -ne 2 ] || echo 1 >$cgroup_views/cgroup_metrics_enabled
		usleep 50000
	done
}

restart_health()
{
	while storming; do
		sleep 1
		echo 7 >$health_views/sched_healthinfo_enable
		sleep 1
		echo 0 >$health_views/sched_healthinfo_enable
		usleep 200000
		echo 1 >$health_views/sched_healthinfo_enable
	done
}

# read_texts NUMBER BYTES PAUSE: read in pieces of BYTES. Keep lines that do not have the expected form.
read_texts()
{
	while storming; do
		dd if=$load_views/load_metrics bs="$2" 2>/dev/null >"/tmp/text-$1"
		grep -v '^time: [0-9]* [0-9]*$\|^cpu:\([0-9]*([0-9]*%) \)*$\|^pid:[0-9]* [01] comm:.* ppid:-*[0-9]* pkg:[^ ]* [0-9]*([0-9]*%) [0-9]*([0-9]*%)$' \
			"/tmp/text-$1" >>/tmp/torn
		echo >>/tmp/texts
		usleep "$3"
	done
}

read_sums()
{
	while storming; do
		cat $health_views/* $cgroup_views/* >/dev/null
		usleep 150000
	done
}

count_texts()
{
	note "$(wc -l </tmp/texts) texts"
	holds "texts" "$(wc -l </tmp/texts)" -gt "$SOAK_SECONDS"
	is "lines that are none" "$(head -n 5 /tmp/torn)" ""
}

# No switch, no CPU's sums and no window is stuck.
the_families_work()
{
	echo 0 >$platform/live
	reset_load_switches
	set_file load_interval 0
	set_file cgroup_interval 0
	start_in_groups
	start_health_from_zero
	for cpu in $cpus; do
		raise "cpu=$cpu sched_stat_wait $in_fg $((cpu + 1))"
		raise "cpu=$cpu sched_stat_blocked $in_bg $((cpu * 1000 + 1))"
	done
	is "waits" "$(health_of lat)" "total 36, root 0, fg 36, top 0, bg 0, sysbg 0, svp 0"
	is "D state" "$(health_of d_nonio)" "total 28008, root 0, fg 0, top 0, bg 28008, sysbg 0, svp 0"
	cgroup_is "groups" "all 36 0 28008
root 0 0 0
fg 36 0 0
top 0 0 0
bg 0 0 28008
sysbg 0 0 0
svp 0 0 0"
	read_load
	feed "$in_fg" 1 5000000000
	read_load
	tasks_are "tasks" "$(task_line "$in_fg" 0 sleeper-1 "$in_fg" "" "$(average 0 5000000000)" 0)"
}

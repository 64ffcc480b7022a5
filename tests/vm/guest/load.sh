# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh disable=SC2034 # the cases use these variables
#
# Helpers of the tests of the load, health and cgroup families: input set by hand, and the expected files and
# records, computed independently from that input. Sourced by main.

load_views=/proc/load_metrics
health_views=/proc/morva_sched_healthinfo
cgroup_views=/proc/cgroup_metrics
cpuctl=/dev/cpuctl
load_switches="$load_views/load_metrics_enabled $load_views/load_metrics_report
	$load_views/thread_metrics_enabled"

# Capacities of the clusters. Percentages are of the second one.
capacity_0=25890
capacity_1=45411
# Scales of the clusters at the frequencies that reset_load_sources sets.
scale_0=$((capacity_0 * 1000000 / 2000000))
scale_1=$((capacity_1 * 1000000 / 2800000))

# --- a known state --------------------------------------------------------------------------------

# Set the values that apply from the next load of zem on.
reset_load_sources()
{
	[ ! "$cluster_was_set" ] || zem_is_stale=1
	echo 0 2000000 >$platform/clusters
	# A machine with one CPU has one package.
	[ "$cpus" = 0 ] || echo 1 2800000 >$platform/clusters
	echo live >$platform/amu
	cluster_was_set=''
}

reset_load_switches()
{
	echo 1 >$load_views/load_metrics_enabled
	echo 0 >$load_views/load_metrics_report
	echo 0 >$load_views/thread_metrics_enabled
	echo 1 >$cgroup_views/cgroup_metrics_enabled
	echo 1 >$health_views/sched_healthinfo_enable
}

# set_cluster INDEX KHZ: for the next load of zem in this test.
set_cluster()
{
	cluster_was_set=1
	echo "$*" >$platform/clusters
}

# --- feeding --------------------------------------------------------------------------------------

# fix_activity CYCLES TIME: set all CPUs. zem ignores times that do not advance, so zem must be loaded again
# after the test.
fix_activity()
{
	zem_is_stale=1
	for cpu in 0 1 2 3 4 5 6 7; do
		echo "$cpu $*" >$platform/amu
	done
}

# activity CPU CYCLES TIME
activity()
{
	echo "$*" >$platform/amu
}

# feed PID CLUSTER CYCLES
feed()
{
	echo "$*" >$platform/runtime
}

# set_counters PID A0 A1 B0 B1 C0 C1 D0 D1
set_counters()
{
	echo "$*" >$platform/counters
}

# Give all CPUs 1000 cycles at 1 ms of their time, which zem has sampled. There is no collector that would
# consume the values under test.
start_load_from_zero()
{
	fix_activity 1000 1000000
	start_from_zero
}

# --- what load_metrics has to show ----------------------------------------------------------------

# Read the file into /tmp/load. Sets the end of the window, its length, and the end of the previous window.
read_load()
{
	cat $load_views/load_metrics >/tmp/load
	read -r _ wallclock window </tmp/load
	window_start=$((wallclock - window))
}

# average CYCLES_0 CYCLES_1: compute the usage of a process from its cycles, over $window.
average()
{
	echo $(((scale_0 * $1 + scale_1 * $2) / window))
}

percent()
{
	echo $(($1 * 100 / capacity_1))
}

# cpu_line USAGE...: print the line of eight CPUs.
cpu_line()
{
	printf 'cpu:'
	for usage in "$@"; do
		printf '%d(%d%%) ' "$usage" "$(percent "$usage")"
	done
	echo
}

# task_line PID FLAG COMM LEADER PACKAGE USAGE COMBINED
task_line()
{
	echo "pid:$1 $2 comm:$3 ppid:$4 pkg:$5 $6($(percent "$6")%) $7($(percent "$7")%)"
}

# load_text_is WHAT LINES: compare the text of read_load without its first line.
load_text_is()
{
	is "$1" "$(tail -n +2 /tmp/load)" "$2"
}

# tasks_are WHAT LINES: compare only the lines of tasks.
tasks_are()
{
	is "$1" "$(tail -n +3 /tmp/load)" "$2"
}

# --- what the records have to be ------------------------------------------------------------------

# cpu_record TRAIN CPU CYCLES USAGE
cpu_record()
{
	echo "$(header 17 "$1" 24)$(le 4 "$2" 0
		le 8 "$3" "$4")"
}

# load_record TRAIN PID COMM LEADER FLAG PACKAGE RUNTIME USAGE COMBINED SUM A0 A1 B0 B1 C0 C1
load_record()
{
	echo "$(header 16 "$1" 192)$(le 4 "$2"
		text_field 16 "$3"
		le 4 "$4"
		le 1 "$5"
		text_field 32 "$6"
		zeros 7
		shift 6
		le 8 "$1" "$2" "$3" "$4" "$5" "$6" 0 0 "$7" "$8" 0 0 "$9"
		shift 9
		le 8 "$1" 0 0)"
}

groups_of_cgroup="all root fg top bg sysbg svp"

# cgroup_record TRAIN [ROW...]: print the record. A row is a name and three times; the others have none.
cgroup_record()
{
	train=$1
	shift
	echo "$(header 18 "$train" 280)$(for name in $groups_of_cgroup; do
		text_field 16 "$name"
		times="0 0 0"
		for row in "$@"; do
			[ "${row%% *}" != "$name" ] || times=${row#* }
		done
		# shellcheck disable=SC2086 # three
		le 8 $times
	done)"
}

# --- health ---------------------------------------------------------------------------------------

# Clear the sums. Logs the discovery.
start_health_from_zero()
{
	echo 1 >$health_views/sched_healthinfo_enable
	cat $cgroup_views/cgroup_metrics >/dev/null
	mark_log
}

# start_in_groups: start a sleeper in each group; $in_fg and so on are their ids.
start_in_groups()
{
	start_task sleepers 5
	# shellcheck disable=SC2086 # ids
	set -- $tasks
	in_root=$1 in_fg=$2 in_top=$3 in_bg=$4 in_sysbg=$5
	echo "$in_fg" >$cpuctl/foreground/cgroup.procs
	echo "$in_top" >$cpuctl/top-app/cgroup.procs
	echo "$in_bg" >$cpuctl/background/cgroup.procs
	echo "$in_sysbg" >$cpuctl/system-background/cgroup.procs
}

# play_health: play the golden scenario with the tasks of start_in_groups.
play_health()
{
	play health root="$in_root" fg="$in_fg" top="$in_top" bg="$in_bg" sysbg="$in_sysbg"
}

# health_of KIND [CPU]: print each row of all CPUs' sum, or of one CPU, with its time of a kind: lat, d_io or
# d_nonio.
health_of()
{
	awk -v kind="_$1:" -v where="^${2:-the sum of .*}" '
		$0 ~ where ":*$" { inside = 1; next }
		inside {
			for (i = 1; i < NF; i++)
				if (sub(kind "$", "", $i))
					printf "%s%s %s", separator, $i, $(i + 1)
			separator = ", "
		}
		inside && /^svp/ { exit }' $health_views/sched_healthinfo
}

cgroup_is()
{
	is "$1" "$(cat $cgroup_views/cgroup_metrics)" "$2"
}

# --- groups of the cpu controller -----------------------------------------------------------------

# The messages of a discovery with the four groups that the guest created.
groups_log="6 root 1
6 foreground 2
6 background 3
6 top 3
6 sysbg 5"

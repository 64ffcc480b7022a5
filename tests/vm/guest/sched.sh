# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh disable=SC2034 # the cases use these variables
#
# Helpers of the tests of the scheduler families: tasks, hooks raised by hand, and expected records. Sourced by
# main.

# The messages of a load of zem.
load_log="6 kioind_init done
6 proc_sched_metrics_init Success!
6 proc_svp_metrics_init Success!
6 proc_load_metrics_init Success!
$groups_log
6 proc_cgroup_metrics_init Success!"

# --- tasks ----------------------------------------------------------------------------------------

# start_task COMMAND...: start a zemtest command that prints ids and "ready" in the background. $helper is its
# id; $task and $tasks are the printed ids.
start_task()
{
	: >/tmp/tasks
	zemtest "$@" >/tmp/tasks &
	helper=$!
	helpers="$helpers $helper"
	wait_until 30 grep -q ready /tmp/tasks || fail "zemtest $* does not start"
	tasks=$(sed '$d' /tmp/tasks)
	task=${tasks%%
*}
}

# start_svp_task: start an SVP task named sleeper-0 that sleeps.
start_svp_task()
{
	start_task sleepers 1
	echo "$task on" >$platform/svp
}

# start_stopped COMMAND...: start a command that stops itself before its work; $task is its id.
start_stopped()
{
	zemtest "$@" >/dev/null &
	task=$!
	helpers="$helpers $task"
	wait_until 30 is_stopped $task || fail "zemtest $* does not start"
}

is_stopped()
{
	case $(sed 's/.*) //' "/proc/$1/stat" 2>/dev/null) in
	T*) ;;
	*) return 1 ;;
	esac
}

end_tasks()
{
	for helper in $helpers; do
		kill -CONT "$helper"
		end "$helper"
	done 2>/dev/null
	helpers=''
}

# field NAME PID: print a field of the platform's record of that task.
field()
{
	echo "$2" >$platform/record
	sed -n "s/^$1 //p" $platform/record
}

# --- raising --------------------------------------------------------------------------------------

# Clear all counters and sums, including the platform's. A trigger uploads no family yet.
start_from_zero()
{
	for cpu in $cpus; do
		echo "$cpu 0" >$platform/irqtime
	done
	without_grace_periods reload_zem
	set_file kioind_interval 0
	set_file sched_interval 0
	set_file svp_interval 0
}

raise()
{
	echo "$*" >$platform/raise
}

metrics="irqtime svp_runtime svp_rundelay svp_d_state_duration"

# The file of a metric's view: _total, nothing, _sum_total or _sum.
view()
{
	case $1$2 in
	irqtime_sum*) echo "$sched_views/sched_metrics_all_irqtime$2" ;;
	*) echo "$sched_views/sched_metrics_$1$2" ;;
	esac
}

# count_in METRIC CPU BUCKET: print a count since load.
count_in()
{
	sed -n "s/^ *cpu $2://p" "$(view "$1" _total)" | awk -v field=$(($3 + 1)) '{ print $field }'
}

# shown FILE: print its text followed by a dot, which preserves trailing newlines.
shown()
{
	cat "$1"
	echo .
}

# --- expected records -----------------------------------------------------------------------------

# le BYTES VALUE...: print each value as hex digits, little-endian.
le()
{
	width=$1
	shift
	for value in "$@"; do
		byte=0
		while [ $byte -lt "$width" ]; do
			printf %02x $((value & 255))
			value=$((value >> 8))
			byte=$((byte + 1))
		done
	done
}

# zeros BYTES
zeros()
{
	[ "$1" -eq 0 ] || printf "%0$(($1 * 2))d" 0
}

# text_field BYTES TEXT
text_field()
{
	printf %s "$2" | xxd -p | tr -d '\n'
	zeros $(($1 - ${#2}))
}

# records_are WHAT COUNT WANTED
records_are()
{
	is "$1" "$(take "$2")" "$3"
}

# header CHANNEL TRAIN_NUMBER LEN: print a header as take does.
header()
{
	echo "channel=$1 sub_type=0 train_number=$2 len=$3 reserved=0 payload="
}

# kzerod_record TRAIN VALUE...: five counters.
kzerod_record()
{
	train=$1
	shift
	echo "$(header 12 "$train" 40)$(le 8 "$@")"
}

# --- the platform's records of tasks ---------------------------------------------------------------

# The records that were created are those that were freed and those of living tasks; none waits for zem.
all_records_are_accounted_for()
{
	awk '{ count[$1] = $2 } END {
		exit count["waiting"] || count["missed"] || count["made"] != count["freed"] + count["living"]
	}' $platform/records
}

# slow_disk: create /dev/nullb0, which takes 300 ms for each request. On a busy machine, that time begins tens
# of ms before the task sleeps.
slow_disk()
{
	[ -b /dev/nullb0 ] || modprobe null_blk irqmode=2 completion_nsec=300000000 nr_devices=1 gb=1 ||
		fail "null_blk does not load"
}

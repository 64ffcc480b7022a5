# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh disable=SC2034 # the cases use what is set here
#
# What every guest test stands on: the module's files, assertions that say what they got, waiting
# with a limit, and a known state to begin with. Sourced by main, in busybox's sh.

zem=/sys/zem
platform=/sys/kernel/debug/zem_platform
sched_views=/proc/sched_metrics
svp_views=/proc/svp_metrics
zem_module=/run/vm/modules/zem.ko
collector=ts_timer_getdata_thread

channels="trace usb display kmem sched kio dp wifi gpu traintime fs test kzerod smartpa svp charger
	load cpu cgroup touchscreen battery"
leading_intervals="kmemind kioind sched display kgsl"
whole_intervals="svp load cgroup"
cpus=$(sed 's/.*-//' /sys/devices/system/cpu/online)
cpus=$(seq 0 "$cpus")

# The largest payload that the kernel's ring buffer takes with pages of 4 KiB: a page less its
# header, less the event's own, less ours.
largest=4040

# --- verdicts -------------------------------------------------------------------------------------

note()
{
	echo "$*" | sed 's/^/    # /'
}

fail()
{
	note "$*"
	failed=1
}

# is WHAT GOT WANTED
is()
{
	[ "$2" = "$3" ] && return
	fail "$1: got"
	excerpt "$2"
	note "wanted"
	excerpt "$3"
}

# As much as a reader wants to see.
excerpt()
{
	echo "$1" | head -n 24 | cut -c 1-150 | sed 's/^/    #     /'
}

# holds WHAT CONDITION...: a condition as test has it.
holds()
{
	what=$1
	shift
	test "$@" || fail "$what: not so: $*"
}

# contains WHAT TEXT PART
contains()
{
	case $2 in
	*"$3"*) ;;
	*) fail "$1: no '$3' in '$2'" ;;
	esac
}

skip()
{
	skipped=$*
}

# --- the kernel's log -----------------------------------------------------------------------------

mark_log()
{
	log_mark=$(zemtest log-end)
}

# What the kernel has logged since the mark, level and text, a line for each message.
log()
{
	zemtest log "$log_mark"
}

# log_is WHAT LINES: exactly these since the mark, which moves on.
log_is()
{
	is "log: $1" "$(log)" "$2"
	log_is_checked=1
	mark_log
}

# awaits_log SECONDS LINE COUNT
awaits_log()
{
	log_is_checked=1
	wait_until "$1" log_has "$2" "${3:-1}" ||
		fail "not in the log after $1 s: ${3:-1} times '$2'; it has: $(log)"
}

log_has()
{
	[ "$(zemtest log "$log_mark" | grep -cxF "$1")" -ge "$2" ]
}

# awaits_match SECONDS REGEX: in a line of the log, whatever else that has.
awaits_match()
{
	log_is_checked=1
	wait_until "$1" log_matches "$2" || fail "not in the log after $1 s: '$2'; it has: $(log)"
}

log_matches()
{
	log | grep -q "$1"
}

# --- waiting --------------------------------------------------------------------------------------

# wait_until SECONDS COMMAND...: until COMMAND succeeds, in vain if it takes longer.
wait_until()
{
	until_time=$(($(seconds_up) + $1))
	shift
	until "$@"; do
		[ "$(seconds_up)" -le $until_time ] || return 1
		usleep 50000
	done
}

seconds_up()
{
	read -r up _ </proc/uptime
	echo "${up%.*}"
}

centiseconds_up()
{
	read -r up _ </proc/uptime
	echo "${up%.*}${up#*.}"
}

has_ended()
{
	! [ -d "/proc/$1" ]
}

# threads NAME: how many of this name there are.
threads()
{
	cat /proc/[0-9]*/comm 2>/dev/null | grep -cx "$1"
}

has_thread()
{
	cat /proc/[0-9]*/comm 2>/dev/null | grep -qx "$1"
}

has_no_thread()
{
	! has_thread "$1"
}

# --- the module -----------------------------------------------------------------------------------

produce()
{
	echo "$*" >$platform/produce
}

# pending COUNT: are so many records in the shared buffer?
pending()
{
	[ "$(zemtest peek | wc -l)" -eq "$1" ]
}

# Header fields and payload of the records in the buffer, which is handed back; times left out.
take()
{
	zemtest take "$@" | sed 's/ timestamp=[0-9]*//'
}

set_file()
{
	case $1 in
	trigger) trigger "$2" ;;
	*) echo "$2" >"$zem/$1" ;;
	esac
}

# From one CPU: records come in the order in which they were made only from the same.
trigger()
{
	zem_is_stale=1
	taskset 1 sh -c 'echo "$1" >"$2"' sh "$1" $zem/trigger
}

# The same of a collector that runs.
keep_collector_on_one_cpu()
{
	taskset -p 2 "$(grep -lx $collector /proc/[0-9]*/comm | cut -d / -f 3)" >/dev/null ||
		fail "the collector does not stay on a CPU"
}

get_file()
{
	read -r text <"$zem/$1" && echo "$text"
}

# The machine is quiet: hooks are raised by hand alone, and the only record that a trigger makes is
# the zero-page daemon's. The collector that trace_on started is left alone: with its providers and
# families off it does nothing.
reset_state()
{
	end_tasks
	echo 0 >$platform/live
	echo 0 0 -1 >$platform/starting
	echo 0 0 0 0 0 >$platform/kzerod
	reset_load_sources
	[ -d $zem ] || insmod $zem_module || note "zem does not load"
	find_disks
	# For the train number: a trigger to reset it would make a record, and the hand-back of that
	# would let the consumer's next wait through.
	[ ! "$zem_is_stale" ] || without_grace_periods reload_zem
	echo 1 >$sched_views/sched_metrics_enabled
	echo 1 >$svp_views/svp_metrics_enabled
	echo 0 >$platform/kmem
	echo 0 >$platform/display
	# As it is 1 nearly always: the write that changes it also starts the collector.
	set_file trace_on 1
	for interval in $leading_intervals $whole_intervals; do
		set_file "${interval}_interval" 1
	done
	set_file kioind_interval 0
	set_file sched_interval 0
	set_file svp_interval 0
	set_file cgroup_interval 0
	set_file display_interval 10
	reset_load_switches
	[ ! "$ring_was_resized" ] || set_file rb_size 8192
	# The case before may have, in a shell of its own.
	ring_was_resized=1
	# What is enrolled still.
	cat $svp_views/svp_metrics >/dev/null
	zemtest flush
}

# resize_ring BYTES: for the test that runs.
resize_ring()
{
	ring_was_resized=1
	set_file rb_size "$1"
}

# rmmod waits for one more record.
unload_zem()
{
	(wait_until 60 module_is_going && echo x >$zem/test) 2>/dev/null &
	rmmod zem || return
	wait $!
}

module_is_going()
{
	[ "$(cat /sys/module/zem/initstate 2>/dev/null)" = going ]
}

load_zem()
{
	insmod $zem_module && find_disks
}

# So that no trigger does, and says so. The module ends that line nowhere: the next one does.
find_disks()
{
	echo x >/sys/kioind/show1_diskstats
	echo "the tests go on" >/dev/kmsg
}

reload_zem()
{
	{ unload_zem && load_zem; } || fail "zem does not reload"
	zem_is_stale=''
	mark_log
}

# without_grace_periods COMMAND...: the kernel forces what it waits for of RCU's, for as long as COMMAND
# runs. For what prepares a test; what a test looks at has the kernel's own pace.
without_grace_periods()
{
	echo 1 >/sys/kernel/rcu_expedited
	"$@"
	echo 0 >/sys/kernel/rcu_expedited
}

# is_a_switch FILE: it looks at the first byte alone. Leaves it on.
is_a_switch()
{
	is "$1" "$(zemtest store "$1" 0 '1\n' '0\n' 1abc x '' 00 2 ' 1' '\n1' -1 y 1)" "0: 1 0
1\\n: 2 1
0\\n: 2 0
1abc: 4 1
x: EFAULT 1
: EFAULT 1
00: 2 0
2: EFAULT 0
 1: EFAULT 0
\\n1: EFAULT 0
-1: EFAULT 0
y: EFAULT 0
1: 1 1"
	is "$1, unreadable" "$(zemtest fault "$1")" EFAULT
	is "$1, and that changes nothing" "$(cat "$1")" 1
}

# end PID...: of a background job, without the shell's word about it.
end()
{
	{
		kill "$@"
		wait "$@"
	} 2>/dev/null
}

# start_drain FILE: all records go there until stop_drain.
start_drain()
{
	rm -f "$1"
	zemtest drain "$1" >/tmp/drain.log &
	drain=$!
	wait_until 20 grep -q draining /tmp/drain.log || fail "zemtest drain does not start"
}

stop_drain()
{
	kill $drain
	wait $drain || fail "zemtest drain: $(cat /tmp/drain.log)"
}

# The consumer sleeps: it has made a pass for each record so far.
consumer_is_idle()
{
	grep -q '^State:.I' "/proc/$(grep -lx rb_consumer /proc/[0-9]*/comm | cut -d / -f 3)/status"
}

# Lets the drain take one more record of each CPU before it stops. The records of a CPU come in their
# order, so a number that is missing below that one is lost.
stop_drain_after_the_last()
{
	for cpu in $cpus; do
		produce test 0 16 1 cpu="$cpu"
	done
	wait_until 60 consumer_is_idle || fail "the consumer does not come to rest"
	stop_drain
}

# flood CPU CONTEXT COUNT REST [LENGTHS]: jobs of COUNT records and rests of REST us, until
# stop_floods.
flood()
{
	: >/tmp/flooding
	while [ -e /tmp/flooding ]; do
		produce test 0 "${5:-16-200}" "$3" cpu="$1" context="$2"
		usleep "$4"
	done 2>/dev/null
}

stop_floods()
{
	rm -f /tmp/flooding
	wait_until 60 has_no_thread 'zem_produce/.*' || fail "the producers do not end"
}

# A collector that runs takes its time to end, so a fresh module is the quicker way to have none.
without_collector()
{
	has_thread $collector && reload_zem
	return 0
}

# provokes_a_warning_in FUNCTION: of the kernel's, by what follows in this test. scripts/vm reads
# that, and does not take such a warning for a failure.
provokes_a_warning_in()
{
	echo "zem test: provokes a warning in $1" >/dev/kmsg
}

# provokes_a_report_in FUNCTION: of the kernel's memory or race sanitizer, in the same way.
provokes_a_report_in()
{
	echo "zem test: provokes a report in $1" >/dev/kmsg
}

# --- running --------------------------------------------------------------------------------------

# run_test CASE NAME NUMBER
run_test()
{
	failed='' skipped='' log_is_checked=''
	echo "zem test: $1/$2" >/dev/kmsg
	reset_state
	mark_log
	started=$(centiseconds_up)
	"test_$2"
	[ "$log_is_checked" ] || is "errors in the log" "$(zemtest log "$log_mark" | grep '^[0-3] ')" ""
	took=$(($(centiseconds_up) - started))
	[ $took -lt 200 ] || note "took $((took / 100)) s"
	if [ "$failed" ]; then
		echo "    not ok $3 $2"
		return 1
	elif [ "$skipped" ]; then
		echo "    ok $3 $2 # SKIP $skipped"
	else
		echo "    ok $3 $2"
	fi
}

initial_ring=$(get_file rb_size 2>/dev/null)
# The case before may have, in a shell of its own.
ring_was_resized=1
zem_is_stale=1

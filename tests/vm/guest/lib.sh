# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh disable=SC2034 # the cases use these variables
#
# Helpers of every guest test: the module's files, assertions that print what they got, waiting with a
# limit, and a known initial state. Sourced by main, in busybox's sh.

zem=/sys/zem
platform=/sys/kernel/debug/zem_platform
sched_views=/proc/sched_metrics
svp_views=/proc/svp_metrics
zem_module=/run/vm/modules/zem.ko
schedstats=/proc/sys/kernel/sched_schedstats
collector=ts_timer_getdata_thread

channels="trace usb display kmem sched kio dp wifi gpu traintime fs test kzerod smartpa svp charger
	load cpu cgroup touchscreen battery"
leading_intervals="kmemind kioind sched display kgsl"
whole_intervals="svp load cgroup"
cpus=$(sed 's/.*-//' /sys/devices/system/cpu/online)
cpus=$(seq 0 "$cpus")

# The largest payload that the kernel's ring buffer accepts with pages of 4 KiB: a page less its header,
# the event's header and the record's header.
largest=4040

# --- assertions -----------------------------------------------------------------------------------

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

# Print the beginning of a text.
excerpt()
{
	echo "$1" | head -n 24 | cut -c 1-150 | sed 's/^/    #     /'
}

# holds WHAT CONDITION...: check a condition of test.
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

# has_usb_disks: succeed if the kernel can play a USB disk. Otherwise the test is skipped.
has_usb_disks()
{
	grep -q '/g_mass_storage\.ko' "/lib/modules/$(uname -r)/modules.dep" && return
	skip "this kernel has no g_mass_storage, which plays a USB disk"
	return 1
}

# --- the kernel's log -----------------------------------------------------------------------------

mark_log()
{
	log_mark=$(zemtest log-end)
}

# Print the kernel's messages since the mark, a line for each: level and text. scripts/vm judges reports of data
# races, most of which are the kernel's own.
log()
{
	if [ -e /sys/kernel/debug/kcsan ]; then
		zemtest log "$log_mark" | awk '
			inside { inside = !/^[0-9] =+$/; next }
			begun != "" && /BUG: KCSAN: / { inside = 1; begun = ""; next }
			begun != "" { print begun; begun = "" }
			/^[0-9] =+$/ { begun = $0; next }
			{ print }
			END { if (begun != "") print begun }'
	else
		zemtest log "$log_mark"
	fi
}

# log_is WHAT LINES: check that exactly these messages were logged since the mark, and move the mark.
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
	[ "$(log | grep -cxF "$1")" -ge "$2" ]
}

# awaits_match SECONDS REGEX: wait for a line of the log that matches.
awaits_match()
{
	log_is_checked=1
	wait_until "$1" log_matches "$2" || fail "not in the log after $1 s: '$2'; it has: $(log)"
}

log_matches()
{
	zemtest log "$log_mark" | grep -q "$1"
}

# --- waiting --------------------------------------------------------------------------------------

# wait_until SECONDS COMMAND...: wait until COMMAND succeeds; fail if it takes longer.
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

# threads NAME: print the number of threads of this name.
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

# rounds FEW MANY: print the numbers of a test's rounds, from 1 on: MANY on a kernel that checks its locks, memory
# or races, and FEW on one that users have, where make soak takes minutes for each kind of storm.
rounds()
{
	if [ -e /proc/lockdep ] || [ -e /sys/kernel/debug/kmemleak ] || [ -e /sys/kernel/debug/kcsan ]; then
		seq "$2"
	else
		seq "$1"
	fi
}

# --- the module -----------------------------------------------------------------------------------

produce()
{
	echo "$*" >$platform/produce
}

# pending COUNT: succeed if the shared buffer holds that number of records.
pending()
{
	[ "$(zemtest peek | wc -l)" -eq "$1" ]
}

# Print header fields and payloads of the records in the buffer, without times, and hand it back.
take()
{
	zemtest take "$@" | sed 's/ timestamp=[0-9]*//'
}

# contexts_arrive_in_order CPU
contexts_arrive_in_order()
{
	for context in task softirq hardirq; do
		produce fs 1 20 1 cpu="$1" context=$context
	done
	is "contexts" "$(take 3 | sed "s/.* cpu=$1 context=\([a-z]*\).*/\1/")" "task
softirq
hardirq"
}

# The module checks while it loads, and does not load if a check fails.
seam_checks_pass()
{
	insmod /share/zem_seam_test.ko || fail "zem_seam_test does not load"
	holds "module" -d /sys/module/zem_seam_test
	rmmod zem_seam_test
}

set_file()
{
	case $1 in
	trigger) trigger "$2" ;;
	*) echo "$2" >"$zem/$1" ;;
	esac
}

# Trigger on one CPU: only records of the same CPU arrive in the order in which they were pushed.
trigger()
{
	zem_is_stale=1
	taskset 1 sh -c 'echo "$1" >"$2"' sh "$1" $zem/trigger
}

# Move a running collector to one CPU, for the same reason.
keep_collector_on_one_cpu()
{
	taskset -p 2 "$(grep -lx $collector /proc/[0-9]*/comm | cut -d / -f 3)" >/dev/null ||
		fail "the collector does not stay on a CPU"
}

get_file()
{
	read -r text <"$zem/$1" && echo "$text"
}

# Make the machine quiet: hooks are raised only by hand, and a trigger causes only the record of the zero-page
# daemon. The collector that trace_on started keeps running: with its providers and families off it has no
# effect.
reset_state()
{
	end_tasks
	echo 0 >$platform/live
	echo 1 >$schedstats
	echo 0 0 -1 >$platform/starting
	echo 0 0 0 0 0 >$platform/kzerod
	reset_load_sources
	[ -d $zem ] || insmod $zem_module || note "zem does not load"
	find_disks
	# This resets the train number. A trigger would push a record, and its hand-back would answer the
	# consumer's next notification.
	[ ! "$zem_is_stale" ] || without_grace_periods reload_zem
	echo 1 >$sched_views/sched_metrics_enabled
	echo 1 >$svp_views/svp_metrics_enabled
	echo 0 >$platform/kmem
	echo 0 >$platform/display
	# It is nearly always 1 already: the write that changes it also starts the collector.
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
	# The previous case, in another shell, may have resized it.
	ring_was_resized=1
	# Collect the tasks that are still enrolled.
	cat $svp_views/svp_metrics >/dev/null
	zemtest flush
}

# resize_ring BYTES: for the current test.
resize_ring()
{
	ring_was_resized=1
	set_file rb_size "$1"
}

# rmmod waits for one more record. The consumer may take a record before rmmod asks it to stop, so one is not enough.
# The file may be gone before a write.
unload_zem()
{
	(wait_until 60 module_is_going && push_until_it_is_gone) 2>/dev/null &
	waker=$!
	rmmod zem
	unloaded=$?
	end $waker
	return $unloaded
}

push_until_it_is_gone()
{
	while module_is_going; do
		echo x >$zem/test
		usleep 50000
	done
}

module_is_going()
{
	[ "$(cat /sys/module/zem/initstate 2>/dev/null)" = going ]
}

load_zem()
{
	insmod $zem_module && find_disks
}

# Look the disks up, so that no trigger does and logs it. The module's message has no newline: the next
# message ends the line.
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

# without_grace_periods COMMAND...: expedite RCU grace periods while COMMAND runs. For preparations: a test
# itself must see the kernel's normal timing.
without_grace_periods()
{
	echo 1 >/sys/kernel/rcu_expedited
	"$@"
	echo 0 >/sys/kernel/rcu_expedited
}

# is_a_switch FILE: check that a write uses only the first byte. Leaves the switch on.
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

# end PID...: end background jobs, without the shell's message.
end()
{
	{
		kill "$@"
		wait "$@"
	} 2>/dev/null
}

# start_drain FILE: write all records to FILE until stop_drain.
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

# Succeed if the consumer sleeps: it has made a pass for each record so far.
consumer_is_idle()
{
	grep -q '^State:.I' "/proc/$(grep -lx rb_consumer /proc/[0-9]*/comm | cut -d / -f 3)/status"
}

# drained_each_record_of_eight_cpus FILE COUNT: end the drain into FILE, which must have COUNT records of 16 bytes of each
# CPU, each of them once. An interrupt between a producer's stamp and its reservation stores the later stamp first.
drained_each_record_of_eight_cpus()
{
	wait_until 60 consumer_is_idle || fail "the consumer does not come to rest"
	stop_drain
	is "records" "$(zemtest verify "$1" | sed 's/out_of_order=[0-9]* //')" "\
records=$((8 * $2)) cpus=8 missing=0 repeated=0 torn=0 elsewhere=0 left_over=0
lengths=16-16 per_cpu=$2,$2,$2,$2,$2,$2,$2,$2"
	rm -f "$1"
}

# Let the drain take one more record of each CPU before it stops. Records of a CPU arrive in order, so a lower
# number that is missing is lost.
stop_drain_after_the_last()
{
	for cpu in $cpus; do
		produce test 0 16 1 cpu="$cpu"
	done
	wait_until 60 consumer_is_idle || fail "the consumer does not come to rest"
	stop_drain
}

# flood CPU CONTEXT COUNT REST [LENGTHS]: push COUNT records in a job, rest for REST us, and repeat until
# stop_floods.
flood()
{
	: >/tmp/flooding
	while [ -e /tmp/flooding ]; do
		produce test 0 "${5:-16-200}" "$3" cpu="$1" context="$2"
		usleep "$4"
	done 2>/dev/null
}

# has_nmis: succeed if the platform can produce in NMIs. Otherwise a test is skipped.
has_nmis()
{
	outcome=$(zemtest store --only $platform/produce "test 0 16 1 cpu=0 context=nmi")
	case $outcome in
	*": EOPNOTSUPP -") skip "this kernel can mask all interrupts" ;;
	*": E"*) fail "$outcome" ;;
	*) take 1 >/dev/null && return ;;
	esac
	return 1
}

stop_floods()
{
	rm -f /tmp/flooding
	wait_until 60 has_no_thread 'zem_produce/.*' || fail "the producers do not end"
}

# End up without a collector. A running one takes time to end, so loading the module again is faster.
without_collector()
{
	has_thread $collector && reload_zem
	return 0
}

# provokes_a_warning_in FUNCTION: announce that the rest of this test makes a kernel function warn. scripts/vm
# reads this and ignores the warning.
provokes_a_warning_in()
{
	echo "zem test: provokes a warning in $1" >/dev/kmsg
}

# provokes_a_report_in FUNCTION: as above, for a report of the kernel's memory or race sanitizer.
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
	ktap_started=$(centiseconds_up)
	"test_$2"
	[ "$log_is_checked" ] || is "errors in the log" "$(log | grep '^[0-3] ')" ""
	took=$(($(centiseconds_up) - ktap_started))
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
# The previous case, in another shell, may have resized it.
ring_was_resized=1
zem_is_stale=1

# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
#
# The load, health and cgroup families with real activity, compared with the kernel's own accounting: tasks of a
# known load in each group, on both clusters.

# close_to WHAT GOT WANTED: check to within 5 %.
close_to()
{
	holds "$1: there is something" "$3" -gt 0
	holds "$1: at least 95 % of $3" "$2" -ge $(($3 * 95 / 100))
	holds "$1: at most 105 % of $3" "$2" -le $(($3 * 105 / 100))
	note "$1: $2, the kernel's $3"
}

go_live()
{
	without_collector
	echo 1 >$platform/live
}

# schedstat WHICH PID: 1 for ns on a CPU, 2 for ns waiting for one.
schedstat()
{
	cut -d ' ' -f "$1" "/proc/$2/schedstat"
}

# GROUP:FILE:CPU, two on each cluster.
places="fg:foreground:0 top:top-app:2 bg:background:5 sysbg:system-background:7"

# start_in GROUP_FILE COMMAND...: start_stopped, in that group.
start_in()
{
	group_file=$1
	shift
	start_stopped "$@"
	echo "$task" >"$cpuctl/$group_file/cgroup.procs"
}

# run_all PID...: continue tasks until each has stopped itself again.
run_all()
{
	kill -CONT "$@"
	usleep 200000
	for pid in "$@"; do
		wait_until 60 is_stopped "$pid" || fail "$pid does not stop"
	done
}

# usage_of PID: print the average from the text of read_load.
usage_of()
{
	sed -n "s/^pid:$1 .* \([0-9]*\)([0-9]*%) [0-9]*([0-9]*%)$/\1/p" /tmp/load
}

# Each runs half of the time, in periods of 10 ms. Usage is in units of the cluster's capacity.
test_usage_of_spinners_in_each_group_on_both_clusters()
{
	go_live
	pids='' tasks=''
	for place in $places; do
		cpu=${place##*:} file=${place#*:}
		start_in "${file%:*}" spin "$cpu" 1500 10 10
		pids="$pids $task"
		tasks="$tasks${place%%:*} $cpu $task $(schedstat 1 $task)
"
	done
	read_load
	# shellcheck disable=SC2086 # ids
	run_all $pids
	read_load
	printf %s "$tasks" >/tmp/spinners
	while read -r group cpu pid before; do
		ran=$(($(schedstat 1 "$pid") - before))
		holds "$group: ns, of the window's $window" $ran -lt $((window * 8 / 10))
		if [ "$cpu" -lt 4 ]; then capacity=$capacity_0; else capacity=$capacity_1; fi
		close_to "$group on CPU $cpu" "$(usage_of "$pid")" $((capacity * (ran / 1000) / (window / 1000)))
	done </tmp/spinners
}

test_usage_of_a_cpu_that_is_never_idle()
{
	go_live
	start_stopped spin 1 20000
	first=$task
	start_stopped spin 6 20000
	kill -CONT "$first" "$task"
	usleep 300000
	read_load
	usleep 1500000
	read_load
	# shellcheck disable=SC2046 # words
	set -- $(sed -n 's/^cpu://; s/([0-9]*%)//g; 2p' /tmp/load)
	close_to "CPU 1" "$2" $capacity_0
	close_to "CPU 6" "$7" $capacity_1
	holds "CPU 3" "$4" -lt $((capacity_0 / 2))
	for pid in $first $task; do
		is_stopped "$pid" && fail "$pid ended too soon"
	done
}

# sums_of NAME: print the three sums of that group from /tmp/text: latency, d_io, d_nonio.
sums_of()
{
	read -r _ latency d_io d_nonio <<-EOT
		$(grep "^$1 " /tmp/text)
	EOT
}

# In each group two tasks compete for a CPU, each group for a different one.
test_latency_of_two_spinners_on_a_cpu_in_each_group()
{
	go_live
	pids='' tasks=''
	for place in $places; do
		cpu=${place##*:} file=${place#*:}
		for spinner in 1 2; do
			start_in "${file%:*}" spin "$cpu" 1500
			pids="$pids $task"
			tasks="$tasks${place%%:*} $task $(schedstat 2 $task)
"
		done
	done
	cat $cgroup_views/cgroup_metrics >/dev/null
	# shellcheck disable=SC2086 # ids
	run_all $pids
	cat $cgroup_views/cgroup_metrics >/tmp/text
	printf %s "$tasks" >/tmp/spinners
	: >/tmp/waited
	while read -r group pid before; do
		echo "$group $(($(schedstat 2 "$pid") - before))" >>/tmp/waited
	done </tmp/spinners
	for group in fg top bg sysbg; do
		sums_of $group
		waited=$(awk -v group=$group '$1 == group { ns += $2 } END { printf "%.0f", ns }' /tmp/waited)
		holds "$group: ns" "$waited" -gt 500000000
		close_to "$group" "$latency" "$waited"
	done
	sums_of top
	of_top=$latency
	sums_of svp
	is "SVP tasks are those of top-app" "$latency" "$of_top"
	sums_of all
	holds "all" "$latency" -ge "$(awk '{ ns += $2 } END { printf "%.0f", ns * 0.95 }' /tmp/waited)"
}

# The kernel's sum of a task's D states in ns, which it shows in ms with six decimals. Leading zeros would make
# the number octal.
blocked_ns()
{
	sed -n 's/.*sum_block_runtime *: *//p' "/proc/$1/sched" | tr -d . | sed 's/^0*\([0-9]\)/\1/'
}

# A reader of a slow disk, and parents that wait for a child to exec.
test_uninterruptible_sleep_for_io_and_for_else()
{
	slow_disk
	go_live
	start_in foreground direct-reads /dev/nullb0 4
	reader=$task
	start_in background wait-for-exec 5 100
	waiter=$task
	reader_before=$(blocked_ns $reader)
	waiter_before=$(blocked_ns $waiter)
	echo 1 >$health_views/sched_healthinfo_enable
	cat $cgroup_views/cgroup_metrics >/dev/null
	run_all $reader $waiter
	cat $cgroup_views/cgroup_metrics >/tmp/text
	read_ns=$(($(blocked_ns $reader) - reader_before))
	waited_ns=$(($(blocked_ns $waiter) - waiter_before))
	holds "ns, by the disk's time" $read_ns -ge 1000000000
	holds "ns, by the children's time" $waited_ns -ge 500000000
	sums_of fg
	close_to "for IO" "$d_io" $read_ns
	holds "else in the reader's group" "$d_nonio" -lt $((read_ns / 20))
	sums_of bg
	close_to "for else" "$d_nonio" $waited_ns
	holds "IO in the waiter's group" "$d_io" -lt $((waited_ns / 20))
	grep '^fg_lat' $health_views/sched_healthinfo | tail -n 1 >/tmp/fg
	read -r _ _ _ d_io _ </tmp/fg
	close_to "the report's" "$d_io" $read_ns
}

# Records of real activity, while zem is loaded and unloaded.
test_rounds_of_unloading_with_live_records()
{
	go_live
	sh -c 'echo $$ >/dev/cpuctl/top-app/cgroup.procs; exec zemtest storm 60 2' >/tmp/storm &
	storm=$!
	for round in $(rounds 2 3); do
		echo 1 >$load_views/load_metrics_report
		echo $((round % 2)) >$load_views/thread_metrics_enabled
		set_file kioind_interval 0
		set_file sched_interval 0
		set_file svp_interval 0
		set_file load_interval 1
		usleep 300000
		set_file trigger $round
		is "round $round: CPUs" "$(zemtest peek | grep -c 'channel=17 ')" 8
		holds "round $round: tasks" "$(zemtest peek | grep -c 'channel=16 ')" -gt 0
		zemtest flush
		reload_zem
		is "round $round: files" "$(find $load_views $health_views $cgroup_views -type f | wc -l)" 8
	done
	end "$storm"
	cat $svp_views/svp_metrics >/dev/null
	log_is "nothing" ""
	wait_until 30 all_records_are_accounted_for || fail "records are left: $(cat $platform/records)"
}

# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
#
# Everything at once, for SOAK_SECONDS: tasks in top-app that fork, exec, switch and exit, with live
# hooks; the collector and a trigger every second; readers of all proc files; producers in all
# contexts; zemctl recording. In two storms, each of which has to leave the kernel's memory as the
# first left it: that one is the warm-up.

warm_up_seconds=60

# By so much may the second storm leave more behind than the first: what caches and partly used
# slabs vary by. A record or a block of counters for each short life would be many times that.
most_kb=2048
most_objects=256

test_a_storm_leaves_no_memory_behind()
{
	echo 1 >$platform/live
	echo 1 >$platform/kmem
	echo 1 >$platform/display
	set_file sched_interval 1
	set_file svp_interval 1
	resize_ring 262144
	set_file trace_on 0
	set_file trace_on 1

	begun=$(seconds_up)
	rounds=0
	storm_for $warm_up_seconds
	settle
	memory >/tmp/before
	note "after the warm-up: $(tr '\n' ' ' </tmp/before)"
	storm_for $((SOAK_SECONDS - ($(seconds_up) - begun)))
	settle
	memory >/tmp/after
	note "at the end: $(tr '\n' ' ' </tmp/after)"
	note "records of tasks: $(tr '\n' ' ' <$platform/records)"
	note "$rounds captures with $captured records; triggers: $(tr '\n' ' ' </tmp/triggers)," \
		"reads: $(tr '\n' ' ' </tmp/reads)"

	grew Slab_unreclaimable_kB $most_kb
	for cache in kmalloc-256 kmalloc-512 kmalloc-1k kmalloc-4k task_struct; do
		grew $cache $most_objects
	done
	is "errors in the log" "$(zemtest log "$log_mark" | grep '^[0-3] ')" ""
}

# grew NAME MOST
grew()
{
	before=$(sed -n "s/^$1 //p" /tmp/before)
	after=$(sed -n "s/^$1 //p" /tmp/after)
	holds "$1 is known" "$before" -gt 0
	holds "$1, $before before" "$after" -le $((before + $2))
}

memory()
{
	sed -n 's/^SUnreclaim: *\([0-9]*\) kB/Slab_unreclaimable_kB \1/p' /proc/meminfo
	awk '$1 ~ /^(kmalloc-(256|512|1k|4k)|task_struct)$/ { print $1, $2 }' /proc/slabinfo
}

# --- the parts of the storm -----------------------------------------------------------------------

storming()
{
	[ -e /tmp/storming ]
}

trigger_every_second()
{
	count=0
	while storming; do
		count=$((count + 1))
		set_file trigger $count
		sleep 1
	done
	echo $count >>/tmp/triggers
}

read_all_proc_files()
{
	count=0
	while storming; do
		cat $sched_views/* $svp_views/* >/dev/null
		count=$((count + 1))
		usleep 200000
	done
	echo $count >>/tmp/reads
}

switch_families()
{
	while storming; do
		for switch in $sched_views/sched_metrics_enabled $svp_views/svp_metrics_enabled; do
			sleep 3
			echo 0 >$switch
			usleep 200000
			echo 1 >$switch
		done
	done
}

start_capture()
{
	capture_begun=$(seconds_up)
	zemctl record -o /tmp/capture >/tmp/summary 2>&1 &
	capture=$!
}

# What was lost is told by zemctl's own summary; the file has to be whole.
end_capture()
{
	kill -INT $capture
	wait $capture || fail "zemctl record: $(cat /tmp/summary)"
	last=$(sed -n 's/^.*\(^\| \)\([0-9]*\) records, .*/\2/p' /tmp/summary)
	captured=$((captured + ${last:-0}))
	zemctl dump /tmp/capture >/dev/null || fail "zemctl dump can't read the capture"
	rm -f /tmp/capture
	rounds=$((rounds + 1))
}

progress()
{
	note "$(($(seconds_up) - begun)) s: $(tr '\n' ' ' <$platform/records)" \
		"unreclaimable $(sed -n 's/^SUnreclaim: *//p' /proc/meminfo)," \
		"capture $(stat -c %s /tmp/capture) bytes"
}

# storm_for SECONDS
storm_for()
{
	end=$(($(seconds_up) + $1))
	: >/tmp/storming
	sh -c 'echo $$ >/dev/cpuctl/top-app/cgroup.procs; exec zemtest storm "$@" >/tmp/storm' storm $(($1 + 600)) 4 &
	storm=$!
	trigger_every_second &
	parts=$!
	read_all_proc_files &
	parts="$parts $!"
	switch_families &
	parts="$parts $!"
	flood 1 task 20 300000 &
	parts="$parts $!"
	flood 2 softirq 20 300000 &
	parts="$parts $!"
	flood 3 hardirq 20 300000 &
	parts="$parts $!"
	start_capture
	while [ "$(seconds_up)" -lt $end ]; do
		sleep 10
		progress
		[ $(($(seconds_up) - capture_begun)) -lt 30 ] || { end_capture && start_capture; }
	done
	rm -f /tmp/storming
	stop_floods
	kill $storm
	wait $storm || fail "a life failed: $(cat /tmp/storm)"
	note "$(tr '\n' ' ' </tmp/storm)"
	# shellcheck disable=SC2086 # ids
	wait $parts
	end_capture
}

# Nothing is listed, and no record waits to be freed.
settle()
{
	cat $svp_views/svp_metrics >/dev/null
	wait_until 60 all_records_are_accounted_for || fail "records are left: $(cat $platform/records)"
	sync
	echo 3 >/proc/sys/vm/drop_caches
	sleep 3
}

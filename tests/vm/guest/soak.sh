# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh disable=SC2034 # the cases use these variables
#
# Helpers of the long tests: storms of concurrent parts for SOAK_SECONDS, with a capture, and a comparison of
# the kernel's memory after them. Sourced by main; a case defines start_parts.

# The first storm warms up caches. The second one is compared with it.
warm_up_seconds=60

# The most memory in kB that the second storm may leave behind beyond the first: the variation of caches and
# partly used slabs.
most_kb=2048
most_objects=256

# storms_leave_no_memory_behind: run the parts that the case's start_parts starts. It adds to $parts the ids of
# jobs that end with the storm.
storms_leave_no_memory_behind()
{
	begun=$(seconds_up)
	rounds=0
	storm_for $warm_up_seconds
	settle
	memory >/tmp/before
	slabs >/tmp/slabs
	kept=$(kept_by_the_kernel)
	note "after the warm-up: $(tr '\n' ' ' </tmp/before)"
	storm_for $((SOAK_SECONDS - ($(seconds_up) - begun)))
	settle
	memory >/tmp/after
	note "at the end: $(tr '\n' ' ' </tmp/after)"
	note "records of tasks: $(tr '\n' ' ' <$platform/records)"
	note "$rounds captures with $captured records"
	note "caches that grew most, in kB: $(slabs | what_grew)"

	kept=$(($(kept_by_the_kernel) - kept))
	note "kept by the kernel itself, in kB: $kept"
	grew Slab_unreclaimable_kB $((most_kb + kept))
	for cache in kmalloc-256 kmalloc-512 kmalloc-1k kmalloc-4k task_struct; do
		grew $cache $most_objects
	done
	is "errors in the log" "$(log | grep '^[0-3] ')" ""
}

# storm_for SECONDS
storm_for()
{
	end=$(($(seconds_up) + $1))
	: >/tmp/storming
	parts=
	start_collecting
	start_parts "$1"
	start_capture
	while [ "$(seconds_up)" -lt $end ]; do
		sleep 10
		progress
		[ $(($(seconds_up) - capture_begun)) -lt 30 ] || next_capture
	done
	rm -f /tmp/storming
	stop_floods
	stop_lives
	# shellcheck disable=SC2086 # ids
	wait $parts
	stop_collecting
	end_capture
}

# A case in which no record may be lost replaces these two. Between storms nobody reads.
start_collecting()
{
	:
}

stop_collecting()
{
	:
}

storming()
{
	[ -e /tmp/storming ]
}

# --- parts that several storms use ----------------------------------------------------------------

# start_lives GROUP SECONDS WORKERS: start tasks in that group that fork, exec, switch and exit. Unless they are
# stopped, they end some time after the storm.
start_lives()
{
	(echo 0 >"$cpuctl/$1/cgroup.procs" && exec zemtest storm $(($2 + 600)) "$3" >"/tmp/lives-$1") &
	lives="$lives $!"
}

stop_lives()
{
	for pid in $lives; do
		kill "$pid"
		wait "$pid" || fail "a life failed: $(cat /tmp/lives-*)"
	done
	lives=
	note "$(cat /tmp/lives-* | tr '\n' ' ')"
}

trigger_every_second()
{
	count=0
	while storming; do
		count=$((count + 1))
		echo $count >$zem/trigger
		sleep 1
	done
}

# --- the capture ----------------------------------------------------------------------------------

start_capture()
{
	capture_begun=$(seconds_up)
	zemctl record -o /tmp/capture >/tmp/summary 2>&1 &
	capture=$!
}

end_capture()
{
	stop_capture
	examine_ended
}

# The examination takes seconds, in which somebody has to read.
next_capture()
{
	stop_capture
	start_capture
	examine_ended
}

stop_capture()
{
	kill -INT $capture
	wait $capture || fail "zemctl record: $(cat /tmp/summary)"
	mv /tmp/capture /tmp/ended
	mv /tmp/summary /tmp/ended-summary
}

# zemctl's summary reports losses; the file must be complete.
examine_ended()
{
	last=$(sed -n 's/^.*\(^\| \)\([0-9]*\) records, .*/\2/p' /tmp/ended-summary)
	captured=$((captured + ${last:-0}))
	zemctl dump /tmp/ended >/dev/null || fail "zemctl dump can't read the capture"
	examine_capture
	rm -f /tmp/ended
	rounds=$((rounds + 1))
}

# Examine the capture /tmp/ended before it is deleted. A case may replace this function.
examine_capture()
{
	:
}

progress()
{
	note "$(($(seconds_up) - begun)) s: $(tr '\n' ' ' <$platform/records)" \
		"unreclaimable $(sed -n 's/^SUnreclaim: *//p' /proc/meminfo)," \
		"capture $(stat -c %s /tmp/capture) bytes"
}

# --- memory ---------------------------------------------------------------------------------------

# Print the kB that a case has made the kernel leak without our modules so far. Such a case replaces this
# function.
kept_by_the_kernel()
{
	echo 0
}

# Wait until no task is listed and no record waits to be freed.
settle()
{
	cat $svp_views/svp_metrics >/dev/null
	wait_until 60 all_records_are_accounted_for || fail "records are left: $(cat $platform/records)"
	sleep 3
	give_back
}

# Make the kernel free what it frees lazily.
give_back()
{
	sync
	echo 3 >/proc/sys/vm/drop_caches
	# Freeing a module's memory also frees all memory that waits to be unmapped.
	insmod /share/zem_seam_test.ko && rmmod zem_seam_test || fail "nothing can be unmapped"
	sleep 1
	# Shrink empty slabs.
	for cache in /sys/kernel/slab/*/shrink; do
		echo 1 >"$cache"
	done
}

memory()
{
	sed -n 's/^SUnreclaim: *\([0-9]*\) kB/Slab_unreclaimable_kB \1/p' /proc/meminfo
	awk '$1 ~ /^(kmalloc-(256|512|1k|4k)|task_struct)$/ { print $1, $2 }' /proc/slabinfo
}

# Print a line with the kB of each cache.
slabs()
{
	awk 'NR > 2 { print $1, $15 * $6 * 4 }' /proc/slabinfo
}

what_grew()
{
	awk 'NR == FNR { was[$1] = $2; next }
		$2 > was[$1] { print $2 - was[$1], $1 }' /tmp/slabs - | sort -rn | head -n 8 | awk '{ print $2, $1 }' |
		tr '\n' ' '
}

# grew NAME MOST
grew()
{
	before=$(sed -n "s/^$1 //p" /tmp/before)
	after=$(sed -n "s/^$1 //p" /tmp/after)
	holds "$1 is known" "$before" -gt 0
	holds "$1, $before before" "$after" -le $((before + $2))
}

# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
#
# The scheduler families with real activity, compared with the kernel's own accounting.

# shellcheck source=tests/vm/guest/live_tasks.sh
. "$here/live_tasks.sh"

# close_to WHAT GOT WANTED: check to within 5 %.
close_to()
{
	holds "$1: there is something" "$3" -gt 0
	holds "$1: at least 95 % of $3" "$2" -ge $(($3 * 95 / 100))
	holds "$1: at most 105 % of $3" "$2" -le $(($3 * 105 / 100))
	note "$1: $2, the kernel's $3"
}

# schedstat WHICH PID: 1 for ns on a CPU, 2 for ns waiting for one.
schedstat()
{
	cut -d ' ' -f "$1" "/proc/$2/schedstat"
}

# column VIEW CPU: print the milliseconds of that CPU.
column()
{
	sed -n 3p "$1" | awk -v at=$(($2 + 1)) '{ print $at }'
}

# The spinner is the only task on its CPU, except for the kernel's own.
test_run_time_of_a_spinner()
{
	go_live
	start_stopped spin 5 2000
	echo "$task on" >$platform/svp
	cat $svp_views/svp_metrics "$(view svp_runtime _sum)" >/dev/null
	before=$(schedstat 1 $task)
	run_until_stopped 60 $task
	ran=$(($(schedstat 1 $task) - before))
	cat $svp_views/svp_metrics >/tmp/text
	cat "$(view svp_runtime _sum)" >/tmp/sums
	holds "ns" $ran -gt 1000000000
	close_to "the task's" "$(value runtime_total $task)" $ran
	close_to "CPU 5's in ms" "$(column /tmp/sums 5)" $((ran / 1000000))
	is "CPU 4's" "$(column /tmp/sums 4)" 0
}

test_run_delay_of_two_spinners_on_a_cpu()
{
	go_live
	start_stopped spin 6 3000
	first=$task
	start_stopped spin 6 3000
	for pid in $first $task; do
		echo "$pid on" >$platform/svp
	done
	cat $svp_views/svp_metrics "$(view svp_rundelay _sum)" >/dev/null
	before_first=$(schedstat 2 $first)
	before=$(schedstat 2 $task)
	run_until_stopped 60 $first $task
	waited_first=$(($(schedstat 2 $first) - before_first))
	waited=$(($(schedstat 2 $task) - before))
	cat $svp_views/svp_metrics >/tmp/text
	cat "$(view svp_rundelay _sum)" >/tmp/sums
	holds "ns" $waited -gt 500000000
	close_to "the first's" "$(value run_delay_total $first)" $waited_first
	close_to "the second's" "$(value run_delay_total $task)" $waited
	close_to "CPU 6's in ms" "$(column /tmp/sums 6)" $(((waited_first + waited) / 1000000))
}

test_d_state_of_reads_from_a_slow_disk()
{
	start_slow_reader
	cat $svp_views/svp_metrics "$(view svp_d_state_duration _sum)" "$(view svp_d_state_duration '')" >/dev/null
	before=$(blocked_us $task)
	run_until_stopped 60 $task
	blocked=$(($(blocked_us $task) - before))
	cat $svp_views/svp_metrics >/tmp/text
	cat "$(view svp_d_state_duration _sum)" >/tmp/sums
	cat "$(view svp_d_state_duration '')" >/tmp/counts
	holds "us, by the disk's time" $blocked -ge 1000000
	is "the task's in us" $(($(value d_state_duration_total $task) / 1000)) $blocked
	close_to "all CPUs' in ms" "$(sed -n 3p /tmp/sums | awk '{ print $NF }')" $((blocked / 1000))
	is "of 30 ms and more" "$(sed -n 's/^d_state_duration\[\]: .*, .*, .*, \(.*\), /\1/p' /tmp/text)" 4
	is "below 27 ms" "$(tail -n 1 /tmp/counts | awk '{ print $2 + $3 + $4 + $5 + $6 + $7 }')" 0
	is "of 27 ms and more" "$(tail -n 1 /tmp/counts | awk '{ print $8 + $9 + $10 + $11 }')" 4
}

# Most of the time is spent in long handlers, so that the measurement adds little to each. Reading the sums also
# takes time, so the result must lie between the traced times without and with it. A nested interrupt is part of
# the outer one.
test_interrupt_time_against_the_kernel_s_events()
{
	go_live
	echo 16384 >$tracing/buffer_size_kb
	echo 1 >$tracing/events/irq/irq_handler_entry/enable
	echo 1 >$tracing/events/irq/irq_handler_exit/enable
	echo begin-reading >$tracing/trace_marker
	read_interrupts
	echo begin >$tracing/trace_marker
	time=$irqtime count=$interrupts
	# One after the other: concurrently they would spin on the reader's lock, which takes minutes if there are
	# more emulated CPUs than host CPUs.
	for cpu in $cpus; do
		produce fs 0 3500 2048 cpu=$cpu context=hardirq
	done
	echo end >$tracing/trace_marker
	read_interrupts
	echo end-reading >$tracing/trace_marker
	echo 0 >$tracing/events/irq/enable
	least=$(traced_irqtime begin end)
	most=$(traced_irqtime begin-reading end-reading)
	echo >$tracing/trace
	echo 1408 >$tracing/buffer_size_kb
	time=$((irqtime - time)) count=$((interrupts - count))
	note "ns and interrupts: $time $count, the kernel's between $least and $most"
	holds "enough" "${least#* }" -gt 500
	holds "ns, less 5 %" $time -ge $((${least% *} * 95 / 100))
	holds "ns, and 5 %" $time -le $((${most% *} * 105 / 100))
	holds "interrupts" $count -ge "${least#* }"
	holds "interrupts" $count -le "${most#* }"
}

tracing=/sys/kernel/tracing

# Read ns and number of all CPUs without starting a process, which would take time.
read_interrupts()
{
	irqtime=0 interrupts=0
	while read -r _ ns; do
		irqtime=$((irqtime + ns))
	done <$platform/irqtime
	while read -r sums; do
		last=$sums
	done <"$(view irqtime _total)"
	for number in ${last#cpu:}; do
		interrupts=$((interrupts + number))
	done
}

# traced_irqtime FROM TO: print ns and number of the event pairs between two marks. A line of the trace is
# TASK-PID [CPU] FLAGS SECONDS.MICROSECONDS: EVENT: ...
traced_irqtime()
{
	sed -n 's/.* \[\([0-9]*\)\] [^ ]* *\([0-9]*\)\.\([0-9]*\): \([a-z_]*\): *\([^ ]*\).*/\1 \2\3 \4 \5/p' \
		$tracing/trace |
		awk -v from="$1" -v to="$2" '
			$3 == "tracing_mark_write" && $4 == from { counting = 1 }
			$3 == "tracing_mark_write" && $4 == to { counting = 0 }
			$3 == "irq_handler_entry" && counting && depth[$1]++ == 0 { since[$1] = $2 }
			$3 == "irq_handler_exit" && depth[$1] && --depth[$1] == 0 && counting {
				sum += $2 - since[$1]
				count++
			}
			END { printf "%d000 %d\n", sum, count }'
}

test_a_task_in_top_app_is_svp()
{
	go_live
	start_task sleepers 2
	other=${tasks#*
}
	echo "$task" >/dev/cpuctl/top-app/cgroup.procs
	echo "$other" >/dev/cpuctl/foreground/cgroup.procs
	is "in top-app" "$(field svp "$task") $(field stats "$task")" "1 1"
	is "in foreground" "$(field svp "$other") $(field stats "$other")" "0 0"
	# A stopped task runs when it is continued.
	kill -STOP "$task" "$other"
	wait_until 20 is_stopped "$task" || fail "it does not stop"
	is "listed" "$(field listed "$task") $(field listed "$other")" "1 0"
	cat $svp_views/svp_metrics >/tmp/text
	contains "text" "$(cat /tmp/text)" "
pid: $task
thread_name: sleeper-0
"
	holds "it ran" "$(value runtime_total "$task")" -gt 0
	echo "$task" >/dev/cpuctl/background/cgroup.procs
	kill -CONT "$task"
	wait_until 20 is_not_stopped "$task"
	is "not any more" "$(field svp "$task") $(field listed "$task")" "0 0"
}

is_not_stopped()
{
	! is_stopped "$1"
}

# Children of a task in top-app are created there.
test_a_storm_of_short_lives_leaves_no_record_behind()
{
	go_live
	set_file svp_interval 1
	set_file sched_interval 1
	collections=0
	# Collections of 5 s each, as many as a slow machine needs.
	while [ $collections -le 5 ]; do
		storm_in_top_app 5 4
		while ! has_ended "$storm"; do
			cat $svp_views/svp_metrics >/dev/null
			set_file trigger $((collections % 100))
			cat $zem/trace >/dev/null
			collections=$((collections + 1))
		done
		wait "$storm" || fail "lives that failed: $(cat /tmp/storm)"
		note "$(cat /tmp/storm | tr '\n' ' ') collections=$collections"
		[ ! "$failed" ] || break
	done
	set_file trigger 1
	wait_until 30 all_records_are_accounted_for || fail "records are left: $(cat $platform/records)"
}

# storm_in_top_app SECONDS WORKERS: start a storm in the background; $storm is its process id.
storm_in_top_app()
{
	sh -c 'echo $$ >/dev/cpuctl/top-app/cgroup.procs; exec zemtest storm "$@" >/tmp/storm' storm "$@" &
	storm=$!
}

# zem is loaded and unloaded while its hooks are raised everywhere and tasks are on its list.
test_rounds_of_unloading_with_live_hooks()
{
	go_live
	storm_in_top_app 60 2
	for round in $(rounds 2 4); do
		wait_until 20 something_is_shown || fail "round $round: no SVP task is counted"
		reload_zem
		is "round $round: files" "$(find $sched_views $svp_views -type f | wc -l)" 19
	done
	start_stopped spin 3 300
	echo "$task on" >$platform/svp
	before=$(schedstat 1 $task)
	run_until_stopped 30 $task
	close_to "run time" "$(field runtime_total $task)" $(($(schedstat 1 $task) - before))
	end "$storm"
	cat $svp_views/svp_metrics >/dev/null
	log_is "nothing" ""
	wait_until 30 all_records_are_accounted_for || fail "records are left: $(cat $platform/records)"
}

something_is_shown()
{
	grep -q '^pid: ' $svp_views/svp_metrics
}

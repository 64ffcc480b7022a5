# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
# guest: --no-zem
#
# zem_platform.ko without zem: a listener replaces zem, and what it hears is compared with the kernel's own
# accounting.

# shellcheck source=tests/vm/guest/listener.sh
. "$here/listener.sh"

test_only_root_gets_to_its_files()
{
	is "the way there" "$(stat -c '%a %u:%g' /sys/kernel/debug)" "700 0:0"
	is "modes and names" "$(cd $platform && stat -c '%a %n' -- * | sort)" "$(
		printf '200 %s\n' counters flags iowait package produce raise runtime svp
		printf '444 %s\n' bio_flags display_calls records
		printf '644 %s\n' amu clusters display irqtime kmem kzerod live long_iowait record starting
	)"
}

# --- load -----------------------------------------------------------------------------------------

test_what_is_not_understood_changes_nothing()
{
	start_task sleepers 1
	before=$(cat $platform/clusters $platform/amu)
	refused clusters "" 1 "2 100" "-1 100" "1 x" "1 100 2"
	refused amu "" x "0 1" "0 1 x" "0 1 2 3" "8 1 2" "-1 1 2" "live 1 2" "0 -1 2"
	refused counters "" "$task" "$task 1 2 3 4 5 6 7" "$task 1 2 3 4 5 6 7 8 9" "$task 1 2 3 4 5 6 7 x"
	refused runtime "" "$task" "$task 0" "$task 0 x" "$task 2 5" "$task -1 5" "$task 0 5 6"
	refused iowait "" "$task" "$task maybe" "$task on off" "x on"
	refused raise "sched_stat_wait" "sched_stat_wait $task" "sched_stat_wait $task x" \
		"sched_stat_blocked $task 1 2" "vh_sched_stat_blocked" "sched_stat_runtime $task 1"
	is "clusters and amu" "$(cat $platform/clusters $platform/amu | sed 's/ .*//')" "$(echo "$before" | sed 's/ .*//')"
	is "counters" "$(field counter_a "$task")$(field counter_d "$task")" "0 00 0"
	is "mark" "$(field in_iowait "$task")" 0
	is "heard" "$(heard wait) $(heard blocked) $(heard vendor_blocked) $(heard load0)" "0 0 0 0 0 0 0 0"
}

test_each_package_is_a_cluster_with_its_frequency()
{
	is "at first" "$(cat $platform/clusters)" "0 2000000
1 2800000"
	echo 1 3000000 >$platform/clusters
	echo 0 0 >$platform/clusters
	is "set" "$(cat $platform/clusters)" "0 0
1 3000000"
}

test_counters_are_set_by_hand()
{
	start_task sleepers 1
	echo "$task 1 2 3 4 5 6 7 18446744073709551615" >$platform/counters
	is "a" "$(field counter_a "$task")" "1 2"
	is "b" "$(field counter_b "$task")" "3 4"
	is "c" "$(field counter_c "$task")" "5 6"
	is "d" "$(field counter_d "$task")" "7 18446744073709551615"
	is "load block" "$(field load_block "$task")" "0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0"
}

# The task is the only one on its CPU, in either package.
test_counters_grow_with_what_a_task_runs_in_a_cluster()
{
	for cpu in 2 6; do
		start_stopped spin $cpu 1500
		echo "$task 0 0 0 0 0 0 0 0" >$platform/counters
		began=$(centiseconds_up)
		echo 1 >$platform/live
		before=$(on_cpu_ns $task)
		continue_and_wait $task
		ran=$(($(on_cpu_ns $task) - before))
		lasted=$(($(centiseconds_up) - began))
		echo 0 >$platform/live
		if [ $cpu = 2 ]; then
			which=first_of other=second_of freq=2000000
		else
			which=second_of other=first_of freq=2800000
		fi
		near "CPU $cpu: ns" "$($which counter_b $task)" $ran
		near "CPU $cpu: cycles" "$($which counter_a $task)" $((ran * (freq / 1000) / 1000))
		holds "CPU $cpu: switched in" "$($which counter_c $task)" -ge 1
		holds "CPU $cpu: its time" "$($which counter_d $task)" -ge $ran
		holds "CPU $cpu: its time in 10 ms" $(($($which counter_d $task) / 10000000)) -le $((lasted + 1))
		is "CPU $cpu: the other cluster" "$(for counter in a b c; do $other counter_$counter $task; done)" "0
0
0"
		end_tasks
	done
}

test_the_load_feed_reports_each_run()
{
	start_stopped spin 5 1000
	echo 1 >$platform/live
	watch $task
	before=$(on_cpu_ns $task)
	continue_and_wait $task
	ran=$(($(on_cpu_ns $task) - before))
	near "cycles" "$(heard_total load1)" $((ran * 28 / 10))
	is "runs" "$(heard load1 | cut -d ' ' -f 1)" "$(heard depart | cut -d ' ' -f 1)"
	is "the other cluster's" "$(heard load0)" "0 0"
	is "absurd" "$(heard absurd)" 0
}

test_the_load_feed_is_called_by_hand()
{
	start_task sleepers 1
	echo "$task 0 1000" >$platform/runtime
	echo "$task 1 7" >$platform/runtime
	echo "$task 1 18446744073709551609" >$platform/runtime
	is "heard" "$(heard load0), $(heard load1)" "1 1000, 2 0"
	is "of a task that is not there" "$(outcome runtime "999999 0 1")" "999999 0 1: ESRCH"
}

test_an_unloaded_listener_is_not_called_any_more()
{
	zemtest storm 30 2 >/dev/null &
	storm=$!
	echo 1 >$platform/live
	for round in 1 2 3 4 5; do
		rmmod zem_platform_test || fail "round $round: the listener does not go"
		is "round $round" "$(outcome runtime "1 0 1")" "1 0 1: ENODEV"
		insmod /share/zem_platform_test.ko || fail "round $round: the listener does not load"
	done
	wait_until 10 something_is_heard || fail "nothing is heard any more"
	end $storm
	is "absurd" "$(heard absurd)" 0
}

something_is_heard()
{
	[ "$(heard_total load0)" -gt 0 ] && [ "$(heard_total load1)" -gt 0 ]
}

# --- a CPU's activity -----------------------------------------------------------------------------

test_activity_is_fixed_by_hand()
{
	echo 3 123456789012 18446744073709551615 >$platform/amu
	echo 7 0 0 >$platform/amu
	is "CPU 3 and 7" "$(sed -n '/^[37] /p' $platform/amu)" "3 123456789012 18446744073709551615
7 0 0"
	echo live >$platform/amu
	is "live again" "$(grep -c '^3 123456789012 ' $platform/amu)" 0
}

# activity CPU: set cycles and time.
activity()
{
	read -r _ cycles time <<-EOF
		$(grep "^$1 " $platform/amu)
	EOF
}

# busy_share CPU: print the busy share of a second or more, in percent.
busy_share()
{
	activity "$1"
	cycles_before=$cycles time_before=$time
	usleep 1000000
	activity "$1"
	holds "time" $((time - time_before)) -ge 1000000000
	share=$(((cycles - cycles_before) * 1000 / 28 / (time - time_before)))
}

# The task spins for much longer than the measurement, however slow the machine is.
test_activity_is_the_share_of_time_that_a_cpu_is_busy()
{
	start_stopped spin 6 120000
	echo 1 >$platform/live
	ran=$(ns_on_cpu)
	kill -CONT $task
	wait_until 60 has_run || fail "it does not run"
	busy_share 6
	holds "percent of a CPU that is busy all the time" $share -ge 95
	holds "percent" $share -le 100
	end_tasks
	wait_until 60 has_ended $task || fail "it does not end"
	usleep 200000
	busy_share 6
	note "idle: $share %"
	holds "percent of a CPU that is idle nearly all the time" $share -lt 50
}

is_running()
{
	[ "$(sed 's/.*) //' "/proc/$task/stat" | cut -d ' ' -f 1)" = R ]
}

ns_on_cpu()
{
	cut -d ' ' -f 1 "/proc/$task/schedstat"
}

# A task is in state R before its CPU runs it, which may take a busy machine more than a second.
has_run()
{
	[ "$(ns_on_cpu)" -gt "$ran" ]
}

test_activity_stands_still_without_live_events()
{
	start_stopped spin 6 500
	activity 6
	cycles_before=$cycles
	continue_and_wait $task
	activity 6
	is "cycles" "$cycles" "$cycles_before"
}

# --- the scheduler's statistics -------------------------------------------------------------------

test_groups_of_the_cpu_controller_are_found_by_id()
{
	is "groups" "$(cut -d ' ' -f 2 $listener/groups | sort | tr '\n' ' ')" \
		" background foreground system-background top-app "
	is "the first" "$(head -n 1 $listener/groups)" "1 "
}

test_waits_are_the_kernel_s()
{
	start_stopped spin 6 2000
	first=$task
	start_stopped spin 6 2000
	echo 1 >$platform/live
	watch $task
	before=$(sched_ns $task wait_sum)
	kill -CONT $first
	continue_and_wait $task
	near "ns" "$(heard_total wait)" $(($(sched_ns $task wait_sum) - before))
	is "absurd" "$(heard absurd)" 0
}

test_blocked_times_are_the_kernel_s()
{
	slow_disk
	start_stopped direct-reads /dev/nullb0 4
	echo 1 >$platform/live
	watch $task
	before=$(sched_ns $task sum_block_runtime)
	continue_and_wait $task
	echo 0 >$platform/live
	blocked=$(($(sched_ns $task sum_block_runtime) - before))
	end_tasks
	rmmod null_blk || fail "null_blk does not go"
	is "ns" "$(heard_total blocked)" $blocked
	is "both hooks" "$(heard blocked)" "$(heard vendor_blocked)"
	holds "by the disk's time" $blocked -ge 1000000000
}

test_hooks_raised_by_hand_carry_what_was_given()
{
	start_task sleepers 1
	watch "$task"
	raise "sched_stat_wait $task 5000"
	raise "cpu=3 sched_stat_wait $task 7 times=10"
	raise "sched_stat_blocked $task 11"
	raise "vh_sched_stat_blocked $task 0 times=3"
	is "heard" "$(heard wait), $(heard blocked), $(heard vendor_blocked)" "11 5070, 1 11, 3 0"
	is "absurd" "$(heard absurd)" 0
}

test_nothing_is_reported_without_live_events()
{
	start_stopped spin 6 300
	first=$task
	start_stopped spin 6 300
	kill -CONT $first
	continue_and_wait $task
	is "heard" "$(grep -v ' 0 0$\|^absurd 0$' $listener/sums)" ""
}

# --- a task's wait for IO -------------------------------------------------------------------------

test_a_sleeper_is_marked_until_it_wakes()
{
	start_task sleepers 1
	echo "$task on" >$platform/iowait
	is "on" "$(field in_iowait "$task")" 1
	echo "$task off" >$platform/iowait
	is "off" "$(field in_iowait "$task")" 0
	echo "$task on" >$platform/iowait
	waiting=$(sed -n 's/^procs_blocked //p' /proc/stat)
	kill -STOP "$task"
	wait_until 20 is_stopped "$task" || fail "it does not stop"
	is "woken" "$(field in_iowait "$task")" 0
	echo "$task on" >$platform/iowait
	kill -CONT "$task"
	usleep 200000
	is "continued" "$(field in_iowait "$task")" 0
	is "those that wait, by the kernel" "$(sed -n 's/^procs_blocked //p' /proc/stat)" "$waiting"
}

test_a_task_that_runs_is_not_marked()
{
	start_stopped spin 6 120000
	kill -CONT $task
	wait_until 60 is_running || fail "it does not run"
	is "outcome" "$(outcome iowait "$task on")" "$task on: EBUSY"
	is "mark" "$(field in_iowait $task)" 0
}

# --- unloading ------------------------------------------------------------------------------------

test_rounds_of_unloading_under_load()
{
	rmmod zem_platform_test || fail "the listener does not go"
	zemtest storm 60 3 >/dev/null &
	storm=$!
	for round in $(rounds 2 4); do
		start_task sleepers 1
		echo "$task on" >$platform/iowait
		rmmod zem_platform || fail "round $round: it does not go"
		kill -STOP "$task"
		insmod /run/vm/modules/zem_platform.ko || fail "round $round: it does not load"
		is "round $round: mark" "$(field in_iowait "$task")" 0
		usleep 300000
	done
	end $storm
	wait_until 30 all_records_are_accounted_for || fail "records are left: $(cat $platform/records)"
}

# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
#
# /proc/morva_sched_healthinfo: waits and uninterruptible sleep by CPU and by group of tasks, compared with hooks
# raised by hand. Complete texts. Also the search for the groups.

report=$health_views/sched_healthinfo
switch=$health_views/sched_healthinfo_enable

test_there_are_two_files_with_their_modes()
{
	is "modes and names" "$(cd $health_views && stat -c '%a %n' -- * | sort -k 2)" "644 sched_healthinfo
644 sched_healthinfo_enable"
	reload_zem
	: >/tmp/noted
	is "switch" "$(shown $switch)" "1
."
	health_is "fresh"
	is "write" "$(zemtest store --only $report 1)" "1: EIO -"
}

test_each_event_counts_in_all_in_its_group_and_for_svp_tasks()
{
	start_in_groups
	start_health_from_zero
	waited 0 "$in_root" 1 root
	waited 1 "$in_fg" 20 fg
	waited 2 "$in_top" 300 top svp
	waited 3 "$in_bg" 4000 bg
	waited 4 "$in_sysbg" 50000 sysbg
	slept_else 5 "$in_root" 600000 root
	slept_else 6 "$in_fg" 7000000 fg
	slept_else 7 "$in_top" 80000000 top svp
	slept_else 0 "$in_bg" 900000000 bg
	slept_else 1 "$in_sysbg" 1000000000 sysbg
	for task in $in_root $in_fg $in_top $in_bg $in_sysbg; do
		echo "$task on" >$platform/iowait
	done
	slept_io 2 "$in_root" 21 root
	slept_io 2 "$in_fg" 32 fg
	slept_io 2 "$in_top" 43 top svp
	slept_io 3 "$in_bg" 54 bg
	slept_io 7 "$in_sysbg" 1234567890123 sysbg
	# The IO-wait mark does not affect a wait for a CPU.
	waited 7 "$in_fg" 77777 fg
	health_is "each once"
	echo "$in_bg on" >$platform/svp
	waited 3 "$in_bg" 11 bg svp
	slept_io 3 "$in_bg" 12 bg svp
	echo "$in_bg off" >$platform/svp
	waited 3 "$in_bg" 13 bg
	echo "$in_top" >$cpuctl/cgroup.procs
	waited 0 "$in_top" 14 root
	health_is "SVP for a while, and a task that moved"
	is "switch" "$(cat $switch)" 1
	log_is "nothing" ""
}

# Only the tracepoints count: the vendor hook of the same event belongs to another family.
test_the_other_hooks_do_not_count()
{
	start_in_groups
	start_health_from_zero
	raise "vh_sched_stat_blocked $in_fg 5000"
	raise "vh_task_d_state_dura_record $in_fg 5000"
	raise "rvh_sched_info_arrive $in_fg 5000"
	health_is "none"
}

test_a_group_of_another_name_counts_only_in_all()
{
	start_task sleepers 1
	mkdir $cpuctl/other
	echo "$task" >$cpuctl/other/cgroup.procs
	start_health_from_zero
	waited 0 "$task" 200
	slept_else 1 "$task" 300
	health_is "other"
	end_tasks
	wait_until 10 rmdir $cpuctl/other 2>/dev/null || fail "the group does not go"
	has_settled
}

test_0_keeps_the_sums_and_any_other_number_restarts_them()
{
	start_in_groups
	start_health_from_zero
	waited 3 "$in_fg" 1000 fg
	echo 0 >$switch
	is "off" "$(cat $switch)" 0
	raise "cpu=3 sched_stat_wait $in_fg 5"
	raise "cpu=3 sched_stat_blocked $in_fg 5"
	health_is "off"
	log_is "off says nothing" ""
	for number in 7 1 4294967295 007; do
		echo $number >$switch
		is "$number" "$(cat $switch)" 1
		: >/tmp/noted
		health_is "$number restarts"
		log_is "$number looks for the groups" "$groups_log"
		waited 6 "$in_fg" 2000 fg
		slept_else 2 "$in_top" 3000 top svp
		health_is "$number counts"
	done
	echo 00 >$switch
	echo 0 >$switch
	health_is "off again"
}

test_a_write_that_is_no_number_changes_nothing()
{
	start_in_groups
	start_health_from_zero
	waited 3 "$in_fg" 1000 fg
	wanted=$(for state in 1 0; do
		printf '%s\n' ": EINVAL $state" "x: EINVAL $state" " 1: EINVAL $state" "1x: EINVAL $state" \
			"-1: EINVAL $state" "0x1: EINVAL $state" "4294967296: ERANGE $state" \
			"12345678901234567890: ERANGE $state" \
			"1234567890123456789012345678901234567890: ERANGE $state"
	done)
	bad_writes >/tmp/outcomes
	is "unreadable" "$(zemtest fault $switch)" EFAULT
	waited 3 "$in_fg" 1 fg
	health_is "while on"
	echo 0 >$switch
	bad_writes >>/tmp/outcomes
	is "unreadable" "$(zemtest fault $switch)" EFAULT
	is "outcomes" "$(cat /tmp/outcomes)" "$wanted"
	health_is "while off"
	log_is "nothing" ""
}

bad_writes()
{
	zemtest store $switch '' x ' 1' 1x -1 0x1 4294967296 12345678901234567890 \
		1234567890123456789012345678901234567890
}

test_a_reader_of_single_bytes_gets_the_whole_report()
{
	start_in_groups
	start_health_from_zero
	waited 3 "$in_fg" 1000 fg
	dd if=$report bs=1 2>/dev/null >/tmp/health
	echo . >>/tmp/health
	health_text | cmp - /tmp/health || fail "not the whole report"
}

test_a_hundred_thousand_on_all_cpus_are_all_counted()
{
	start_in_groups
	start_health_from_zero
	raise "cpu=4 sched_stat_wait $in_bg 30 times=100000"
	note_health 1 4 "$in_bg" 3000000 bg
	health_is "report"
}

# --- search for the groups ------------------------------------------------------------------------

# remake GROUP...: create only these groups, with ids from 2 up in this order.
remake()
{
	end_tasks
	wait_until 10 has_no_group || fail "groups do not go: $(ls -d $cpuctl/*/)"
	has_settled
	for group in "$@"; do
		mkdir $cpuctl/"$group"
	done
}

has_no_group()
{
	rmdir $cpuctl/*/ 2>/dev/null
	! ls -d $cpuctl/*/ >/dev/null 2>&1
}

# The kernel reuses ids some time after their groups were removed.
has_settled()
{
	usleep 500000
}

usual_groups="foreground background top-app system-background"

test_groups_are_found_by_name_in_the_order_of_their_ids()
{
	remake system-background top-app background foreground
	log_after_restart "turned round" "6 root 1
6 sysbg 2
6 top 2
6 background 4
6 foreground 5"
	start_in_groups
	start_health_from_zero
	waited 0 "$in_fg" 1 fg
	waited 1 "$in_top" 2 top svp
	waited 2 "$in_bg" 3 bg
	waited 3 "$in_sysbg" 4 sysbg
	health_is "turned round"

	remake other top-appx foreground foregroun background top-app Top-app system-background
	log_after_restart "among others" "6 root 1
6 foreground 4
6 background 6
6 top 6
6 sysbg 9"
	# shellcheck disable=SC2086 # words
	remake $usual_groups
	log_after_restart "as before" "$groups_log"
}

# log_after_restart WHAT LINES
log_after_restart()
{
	mark_log
	echo 1 >$switch
	log_is "$1" "$2"
}

# A group that is not found again keeps the id that it had.
test_the_first_gap_ends_the_search()
{
	# shellcheck disable=SC2086 # words
	remake $usual_groups
	log_after_restart "as made" "$groups_log"
	rmdir $cpuctl/top-app
	has_settled
	start_task sleepers 1
	echo "$task" >$cpuctl/system-background/cgroup.procs
	found="6 root 1
6 foreground 2
6 background 3"
	log_after_restart "with a gap" "$found"
	: >/tmp/noted
	waited 2 "$task" 5 sysbg
	health_is "found before"
	reload_zem
	log_after_restart "with a gap from the start" "$found"
	: >/tmp/noted
	waited 2 "$task" 5
	health_is "not found"
	mkdir $cpuctl/top-app
	log_after_restart "without" "$groups_log"
	: >/tmp/noted
	waited 2 "$task" 5 sysbg
	health_is "found"
}

test_only_ids_up_to_20_are_looked_at()
{
	remake $(seq 17) foreground background
	reload_zem
	log_after_restart "19 groups" "6 root 1
6 foreground 19
6 background 20"
	remake $(seq 18) foreground background
	reload_zem
	log_after_restart "20 groups" "6 root 1
6 foreground 20"
	# shellcheck disable=SC2086 # words
	remake $usual_groups
}

# While there is none, its id of 0 matches no group. A search logs its result if it is new.
test_each_event_looks_for_the_groups_until_there_is_a_foreground_group()
{
	remake background
	unload_zem
	mark_log
	insmod $zem_module || fail "zem does not load"
	log_is "load" "$(echo "$load_log" | sed '/foreground/d; /sysbg/d; /6 top/d; s/\(6 background\) 3/\1 2/')"
	start_task sleepers 1
	start_health_from_zero
	mkdir $cpuctl/top-app
	raise "cpu=5 sched_stat_wait $task 10"
	awaits_log 5 "6 top 2"
	log_is "found by a wait" "6 root 1
6 background 2
6 top 2"
	for hook in sched_stat_wait sched_stat_blocked; do
		raise "cpu=5 $hook $task 10 times=1000"
	done
	usleep 200000
	log_is "found already" ""
	echo "5 all 1 10010
5 root 1 10010
5 all 3 10000
5 root 3 10000" >/tmp/noted
	health_is "counted all the same"

	# The event that starts the search is counted before it.
	mkdir $cpuctl/foreground
	echo "$task" >$cpuctl/foreground/cgroup.procs
	slept_else 6 "$task" 100
	awaits_log 5 "6 foreground 4"
	log_is "found by sleep" "6 root 1
6 background 2
6 top 2
6 foreground 4"
	waited 7 "$task" 1000 fg
	slept_else 0 "$task" 10000 fg
	health_is "its own"

	# A search on request finds groups that were created later.
	mkdir $cpuctl/system-background
	echo "$task" >$cpuctl/system-background/cgroup.procs
	waited 7 "$task" 1
	usleep 200000
	log_is "not looked for any more" ""
	health_is "of no known group"
	log_after_restart "asked for" "6 root 1
6 background 2
6 top 2
6 foreground 4
6 sysbg 5"
	: >/tmp/noted
	waited 7 "$task" 1 sysbg
	health_is "of a group that came late"
	# shellcheck disable=SC2086 # words
	remake $usual_groups
}

# A line in the log wakes its readers, and their wait for a CPU is an event. The search must not log again.
test_without_a_foreground_group_a_live_system_does_not_flood_the_log()
{
	remake background
	reload_zem
	cat /dev/kmsg >/dev/null &
	helpers="$helpers $!"
	: >/tmp/noted
	echo 1 >$switch
	mark_log
	echo 1 >$platform/live
	usleep 1000000
	echo 0 >$platform/live
	holds "ns that tasks waited" "$(sed -n '/^=/,$s/^total_lat: *\([0-9]*\) .*/\1/p' $report)" -gt 0
	log_is "a second" ""
	# shellcheck disable=SC2086 # words
	remake $usual_groups
}

# The kernel frees an old name immediately. Searches in two contexts must not use it.
test_groups_are_renamed_while_they_are_looked_for()
{
	remake background other
	log_after_restart "before" "6 root 1
6 background 2"
	start_task sleepers 1
	(while :; do
		echo 1 >$switch
		raise "cpu=3 sched_stat_wait $task 10 times=100"
	done) 2>/dev/null &
	searches=$!
	for _ in $(seq 30); do
		mv $cpuctl/other $cpuctl/top-app
		mv $cpuctl/top-app $cpuctl/other
	done
	{ kill $searches && wait $searches; } 2>/dev/null
	mv $cpuctl/other $cpuctl/foreground
	log_after_restart "after" "6 root 1
6 background 2
6 foreground 3"
	# shellcheck disable=SC2086 # words
	remake $usual_groups
}

test_off_does_not_look_for_groups()
{
	remake background
	reload_zem
	echo 0 >$switch
	mark_log
	start_task sleepers 1
	raise "sched_stat_wait $task 10"
	raise "sched_stat_blocked $task 10"
	usleep 200000
	log_is "nothing" ""
	# shellcheck disable=SC2086 # words
	remake $usual_groups
	zem_is_stale=1
}

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

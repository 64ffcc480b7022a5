# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
#
# /proc/morva_sched_healthinfo: waits and uninterruptible sleep by CPU and by group of tasks. Also the search for
# the groups.

report=$health_views/sched_healthinfo
switch=$health_views/sched_healthinfo_enable

test_there_are_two_files_with_their_modes()
{
	is "modes and names" "$(cd $health_views && stat -c '%a %n' -- * | sort -k 2)" "644 sched_healthinfo
644 sched_healthinfo_enable"
	reload_zem
	is "switch" "$(shown $switch)" "1
."
	is "rows, and those with a time" "$(grep -c '_lat:' $report) $(grep -c ' [1-9]' $report)" "63 0"
	is "write" "$(zemtest store --only $report 1)" "1: EIO -"
}

test_each_event_counts_in_all_in_its_group_and_for_svp_tasks()
{
	start_in_groups
	start_health_from_zero
	play_health
	view_is_golden health $report
	echo "$in_top" >$cpuctl/cgroup.procs
	raise "cpu=0 sched_stat_wait $in_top 14"
	is "a task that moved" "$(health_of lat)" \
		"total 132136, root 15, fg 77797, top 300, bg 4024, sysbg 50000, svp 311"
	is "switch" "$(cat $switch)" 1
	log_is "nothing" ""
}

test_a_write_that_is_no_number_changes_nothing()
{
	start_in_groups
	start_health_from_zero
	raise "cpu=3 sched_stat_wait $in_fg 1001"
	cat $report >/tmp/wanted
	wanted=$(for state in 1 0; do
		printf '%s\n' ": EINVAL $state" "x: EINVAL $state" " 1: EINVAL $state" "1x: EINVAL $state" \
			"-1: EINVAL $state" "0x1: EINVAL $state" "4294967296: ERANGE $state" \
			"12345678901234567890: ERANGE $state" \
			"1234567890123456789012345678901234567890: ERANGE $state"
	done)
	bad_writes >/tmp/outcomes
	is "unreadable" "$(zemtest fault $switch)" EFAULT
	cat $report >/tmp/shown
	text_files_are "while on"
	echo 0 >$switch
	bad_writes >>/tmp/outcomes
	is "unreadable" "$(zemtest fault $switch)" EFAULT
	is "outcomes" "$(cat /tmp/outcomes)" "$wanted"
	cat $report >/tmp/shown
	text_files_are "while off"
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
	play_health
	dd if=$report bs=1 2>/dev/null >/tmp/shown
	cp "$golden/health/sched_healthinfo" /tmp/wanted
	text_files_are "report"
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
	raise "cpu=0 sched_stat_wait $in_fg 1"
	raise "cpu=1 sched_stat_wait $in_top 2"
	raise "cpu=2 sched_stat_wait $in_bg 3"
	raise "cpu=3 sched_stat_wait $in_sysbg 4"
	is "turned round" "$(health_of lat)" "total 10, root 0, fg 1, top 2, bg 3, sysbg 4, svp 2"

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

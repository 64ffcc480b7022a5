# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh disable=SC2034,SC2154 # the cases use these variables, and lib.sh sets others
#
# Helpers of the tests that measure real tasks with the platform's live hooks. Sourced by the cases that need it.

go_live()
{
	echo 1 >$platform/live
}

# run_until_stopped SECONDS PID...
run_until_stopped()
{
	limit=$1
	shift
	kill -CONT "$@"
	usleep 200000
	for pid in "$@"; do
		wait_until "$limit" is_stopped "$pid" || fail "$pid does not stop"
	done
}

# value NAME PID: print the total of that name for that task from /tmp/text.
value()
{
	awk -v name="$1:" -v pid="$2" '$1 == "pid:" { now = $2 } $1 == name && now == pid { print $2 }' /tmp/text
}

# start_slow_reader: start an SVP task that will read four times from a slow disk.
start_slow_reader()
{
	slow_disk
	go_live
	start_stopped direct-reads /dev/nullb0 4
	echo "$task on" >$platform/svp
}

# The kernel's sum of a task's D states, which it shows in ms with six decimals.
blocked_us()
{
	sed -n 's/.*sum_block_runtime *: *//p' "/proc/$1/sched" | awk '{ printf "%d\n", $1 * 1000 }'
}

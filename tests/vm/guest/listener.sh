# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh disable=SC2034,SC2154 # the cases use these variables, and lib.sh sets others
#
# Helpers of the tests of zem_platform.ko without zem: a listener on its hooks instead of zem. Sourced by the
# cases that need it.

listener=/sys/kernel/debug/zem_platform_test

# Replaces the function that needs zem.
reset_state()
{
	end_tasks
	echo 0 >$platform/live
	echo 1 >$schedstats
	echo live >$platform/amu
	echo 0 2000000 >$platform/clusters
	echo 1 2800000 >$platform/clusters
	[ -d $listener ] || insmod /share/zem_platform_test.ko || fail "the listener does not load"
	watch 0
}

# watch PID: clear the sums, and count for that task; for all tasks if PID is 0.
watch()
{
	echo "$1" >$listener/watch
}

# heard SUM: print count and total.
heard()
{
	sed -n "s/^$1 //p" $listener/sums
}

# heard_total SUM
heard_total()
{
	heard "$1" | cut -d ' ' -f 2
}

# refused FILE TEXT...: check that each write fails with EINVAL.
refused()
{
	file=$1
	shift
	for text in "$@"; do
		is "to $file" "$(outcome "$file" "$text")" "$text: EINVAL"
	done
}

# outcome FILE TEXT: print the result of the write.
outcome()
{
	zemtest store "$platform/$1" "$2" | sed -n "1s|^\($2: [^ ]*\).*|\1|p"
}

# near WHAT GOT WANTED: check to within 5 %.
near()
{
	holds "$1: there is something" "$3" -gt 0
	holds "$1: at least 95 % of $3" "$2" -ge $(($3 * 95 / 100))
	holds "$1: at most 105 % of $3" "$2" -le $(($3 * 105 / 100))
	note "$1: $2, the kernel's $3"
}

# continue_and_wait PID: continue a task and wait until it stops itself again.
continue_and_wait()
{
	kill -CONT "$1"
	usleep 200000
	wait_until 60 is_stopped "$1" || fail "$1 does not stop"
}

# on_cpu_ns PID, and waited_ns PID
on_cpu_ns()
{
	cut -d ' ' -f 1 "/proc/$1/schedstat"
}

waited_ns()
{
	cut -d ' ' -f 2 "/proc/$1/schedstat"
}

# sched_ns PID FIELD: print a sum that the kernel shows in ms with six decimals. Leading zeros would make the
# number octal.
sched_ns()
{
	sed -n "s/^$2 *: *//p" "/proc/$1/sched" | tr -d . | sed 's/^0*\(.\)/\1/'
}

# first_of COUNT_OR_TOTAL FIELD PID: print a part of a pair in a record.
first_of()
{
	field "$1" "$2" | cut -d ' ' -f 1
}

second_of()
{
	field "$1" "$2" | cut -d ' ' -f 2
}

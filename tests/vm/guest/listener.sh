# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh disable=SC2034,SC2154 # the cases use what is set here, and lib.sh sets more
#
# What the tests of the platform's stand-in alone stand on: a listener on its hooks in zem's place.
# Sourced by the cases that need it.

listener=/sys/kernel/debug/zem_platform_test

# In place of the one that needs zem.
reset_state()
{
	end_tasks
	echo 0 >$platform/live
	echo live >$platform/amu
	echo 0 2000000 >$platform/clusters
	echo 1 2800000 >$platform/clusters
	echo 1 >/proc/sys/kernel/sched_schedstats
	[ -d $listener ] || insmod /share/zem_platform_test.ko || fail "the listener does not load"
	watch 0
}

# watch PID: its sums from 0; of all tasks for 0.
watch()
{
	echo "$1" >$listener/watch
}

# heard SUM: count and total.
heard()
{
	sed -n "s/^$1 //p" $listener/sums
}

# heard_total SUM
heard_total()
{
	heard "$1" | cut -d ' ' -f 2
}

# refused FILE TEXT...: each is an invalid argument.
refused()
{
	file=$1
	shift
	for text in "$@"; do
		is "to $file" "$(outcome "$file" "$text")" "$text: EINVAL"
	done
}

# outcome FILE TEXT: of writing it.
outcome()
{
	zemtest store "$platform/$1" "$2" | sed -n "1s|^\($2: [^ ]*\).*|\1|p"
}

# near WHAT GOT WANTED: within 5 %.
near()
{
	holds "$1: there is something" "$3" -gt 0
	holds "$1: at least 95 % of $3" "$2" -ge $(($3 * 95 / 100))
	holds "$1: at most 105 % of $3" "$2" -le $(($3 * 105 / 100))
	note "$1: $2, the kernel's $3"
}

# continue_and_wait PID: a task that stops itself again.
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

# sched_ns PID FIELD: a sum that the kernel shows in ms with six decimals. A number that begins with
# 0 would be an octal one.
sched_ns()
{
	sed -n "s/^$2 *: *//p" "/proc/$1/sched" | tr -d . | sed 's/^0*\(.\)/\1/'
}

# first_of COUNT_OR_TOTAL FIELD PID: of a record's pair.
first_of()
{
	field "$1" "$2" | cut -d ' ' -f 1
}

second_of()
{
	field "$1" "$2" | cut -d ' ' -f 2
}

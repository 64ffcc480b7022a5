# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
#
# What block IO, IO wait, reads and writes add to the counters of SVP tasks.

data=/dev/block/by-name/userdata

# start_counted_task: start an SVP task whose bios are counted too; $task is its id.
start_counted_task()
{
	start_svp_task
	echo "$task marked" >$platform/svp
	echo "$task on" >$platform/iowait
	noted=$(io_fields "$task")
}

# io_fields PID: print each field as NAME=VALUES.
io_fields()
{
	echo "$1" >$platform/record
	sed -n 's/^\(iowait_[a-z_]*\|ui_iowait_long_cnt\|read_[a-z_]*\|write_[a-z_]*\|bio_[a-z_]*\) /\1=/p' $platform/record
}

# added: print the fields that have changed.
added()
{
	io_fields "$task" >/tmp/fields
	echo "$noted" | grep -vxFf - /tmp/fields | tr '\n' ';'
}

# without_each_condition WHAT COMMAND...: check that COMMAND adds nothing to a task that lacks one condition.
without_each_condition()
{
	what=$1
	shift
	for condition in unmarked off; do
		start_counted_task
		echo "$task $condition" >$platform/svp
		"$@"
		is "$what, $condition" "$(added)" ""
	done
	start_task sleepers 1
	echo "$task marked" >$platform/svp
	echo "$task on" >$platform/iowait
	"$@"
	is "$what, never counted" "$(field stats "$task")" 0
}

# ended_bio OPERATION PAGES NS [DISK]: raise the end of a bio of the task.
ended_bio()
{
	raise "vh_blk_bio_endio ${4:-$data} $1 $2 $3 0 $task"
}

# bios_are WHAT NS WANTED: compare the fields. The time may exceed NS by the duration of the call.
bios_are()
{
	added >/tmp/added
	time=$(sed -n 's/.*_time=\([0-9]*\);.*/\1/p' /tmp/added)
	holds "$1: ns" "$time" -ge "$2"
	holds "$1: ns" "$time" -lt $(($2 + 100000000))
	is "$1" "$(sed 's/_time=[0-9]*/_time=T/' /tmp/added)" "$3"
}

test_bios_of_a_task_that_waits_for_them_are_counted()
{
	fresh_io
	start_counted_task
	ended_bio 0 3 5000000
	ended_bio 0x800 511 7000000 /dev/block/sda
	bios_are "reads" 12000000 "bio_read_size=2105344;bio_read_time=T;bio_read_cnt=2;"
	noted=$(io_fields "$task")
	ended_bio 0x801 1 5000000
	ended_bio 1 2 500000
	ended_bio 5 2 500000
	bios_are "writes" 6000000 "bio_write_size=20480;bio_write_time=T;bio_write_cnt=3;"
}

blocked()
{
	raise "vh_sched_stat_blocked $task $1"
}

test_io_waits_fall_into_classes()
{
	fresh_io
	start_counted_task
	sum=0
	for ns in 0 999999 1000000 2999999 3000000 9999999 10000000 19999999 20000000 49999999 \
		50000000 99999999 100000000 7000000000; do
		blocked $ns
		sum=$((sum + ns))
	done
	is "added" "$(added)" "iowait_total=$sum;iowait_total_cnt=14;iowait_duration=2 2 2 2 2 2 2;"
}

transferred()
{
	raise "vh_task_rchar $task 100"
	raise "vh_task_wchar $task 7"
}

# Whether or not the task waits for IO.
test_reads_and_writes_are_counted()
{
	fresh_io
	start_counted_task
	echo "$task off" >$platform/iowait
	raise "vh_task_rchar $task 4096 times=2"
	raise "vh_task_rchar $task 0"
	raise "vh_task_rchar $task -5"
	raise "vh_task_wchar $task 7"
	raise "vh_task_wchar $task 5000000000 dsync"
	raise "vh_task_wchar $task -9223372036854775808"
	is "added" "$(added)" "read_bytes=8192;read_syscall_cnt=3;write_bytes=5000000007;write_syscall_cnt=2;"
	without_each_condition "transfer" transferred
}

test_the_text_has_what_was_counted_and_clears_it()
{
	fresh_io
	start_counted_task
	blocked 2000000
	raise "vh_task_rchar $task 4096"
	ended_bio 0 3 5000000
	raise "vh_sched_info_depart $task 0"
	text=$(cat $svp_views/svp_metrics)
	contains "text" "$text" "iowait_total: 2000000 iowait_total_cnt: 1
iowait_duration[]: 0, 1, 0, 0, 0, 0, 0, iowait_coldstart: 0 iowait_coldstart_cnt 0
ui_iowait_long_cnt: 0
read_bytes:  4096 read_syscall_cnt:  1
write_bytes: 0 write_syscall_cnt: 0
bio_read_size: 12288 bio_read_time: "
	is "afterwards" "$(io_fields "$task" | grep -v '=0\( 0\)*$')" ""
}

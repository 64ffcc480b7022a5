# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
#
# The files of /sys/zem and the counters: which files exist, their initial values, and what writes they accept
# and refuse.

test_there_are_32_files_with_their_modes()
{
	wanted=$({
		for channel in $channels; do echo "644 $channel"; done
		for interval in $leading_intervals $whole_intervals; do echo "664 ${interval}_interval"; done
		printf '664 %s\n' trace_on rb_size trigger
	} | sort -k 2)
	is "modes and names" "$(cd $zem && stat -c '%a %n' -- * | sort -k 2)" "$wanted"
	is "number of files" "$(find $zem -type f | wc -l)" 32
}

test_the_counters_can_be_read_by_all_and_written_by_none()
{
	is "modes and names" "$(cd /sys/module/zem/counters && stat -c '%a %n' -- *)" "444 empty_passes
444 notify_timeouts
444 records_dropped
444 records_overwritten
444 records_pushed
444 records_refused
444 records_too_large
444 svp_tasks_refused
444 uids_refused"
}

test_a_fresh_module_has_the_initial_settings()
{
	for file in $leading_intervals $whole_intervals; do set_file ${file}_interval 77; done
	set_file rb_size 65536
	reload_zem
	got=$(cd $zem && for file in trace_on ./*_interval; do echo "${file#./} $(cat $file)"; done)
	is "settings" "$got" "trace_on 1
cgroup_interval 0
display_interval 10
kgsl_interval 1
kioind_interval 1
kmemind_interval 1
load_interval 1
sched_interval 1
svp_interval 1"
	is "ring buffer" "$(get_file rb_size)" "$initial_ring"
}

# The text written, the result of the write, and the value shown afterwards.
test_intervals_read_by_leading_number()
{
	wanted='0: 1 0
5: 1 5
5x: 2 5
10000: 5 10000
10001: EINVAL 10000
7\n: 2 7
8\n\n: 3 8
-1: EINVAL 8
-0: 2 0
+5: EINVAL 0
 5: 2 5
6 7: 3 6
007: 3 7
0x10: 4 0
12.9: 4 12
9\0x: 3 9
4294967297: 10 1
2147483648: EINVAL 1
abc: EINVAL 1
x5: EINVAL 1
 : EINVAL 1
\n: EINVAL 1
-: EINVAL 1'
	for interval in $leading_intervals; do
		is $interval "$(store_all ${interval}_interval)" "$wanted"
	done
}

test_intervals_read_as_a_whole_number()
{
	wanted='0: 1 0
5: 1 5
5x: EINVAL 5
10000: 5 10000
10001: EINVAL 10000
7\n: 2 7
8\n\n: EINVAL 7
-1: EINVAL 7
-0: 2 0
+5: 2 5
 5: EINVAL 5
6 7: EINVAL 5
007: 3 7
0x10: EINVAL 7
12.9: EINVAL 7
9\0x: 3 9
4294967297: EINVAL 9
2147483648: EINVAL 9
abc: EINVAL 9
x5: EINVAL 9
 : EINVAL 9
\n: EINVAL 9
-: EINVAL 9'
	for interval in $whole_intervals; do
		is $interval "$(store_all ${interval}_interval)" "$wanted"
	done
}

store_all()
{
	zemtest store $zem/$1 0 5 5x 10000 10001 '7\n' '8\n\n' -1 -0 +5 ' 5' '6 7' 007 0x10 12.9 '9\0x' \
		4294967297 2147483648 abc x5 ' ' '\n' -
}

test_an_empty_write_changes_nothing()
{
	for file in trace_on kmemind_interval svp_interval rb_size; do
		before=$(get_file $file)
		is $file "$(zemtest store $zem/$file '')" ": 0 $before"
	done
	is "a channel" "$(zemtest store --only $zem/usb '')" ": 0 -"
	is "nothing was recorded" "$(zemtest read $zem/usb)" "0:"
}

test_trace_on_accepts_only_0_and_1()
{
	is trace_on "$(zemtest store $zem/trace_on 2 -1 abc '' x1 +1 4294967298 1 '1\n' ' 1' 1x 1)" "2: EINVAL 1
-1: EINVAL 1
abc: EINVAL 1
: 0 1
x1: EINVAL 1
+1: EINVAL 1
4294967298: EINVAL 1
1: 1 1
1\\n: 2 1
 1: 2 1
1x: 2 1
1: 1 1"
	log_is "a switch that stays on says nothing" ""
}

test_trigger_takes_any_number_and_can_not_be_read()
{
	is "read" "$(zemtest read $zem/trigger)" EIO
	zem_is_stale=1
	is "writes" "$(zemtest store --only $zem/trigger abc '' x1 ' ' 42 -7 0 5x 2147483647)" "abc: EINVAL -
: 0 -
x1: EINVAL -
 : EINVAL -
42: 2 -
-7: 2 -
0: 1 -
5x: 2 -
2147483647: 10 -"
	produce test 0 4 1
	contains "the last number counts" "$(take 1)" " train_number=2147483647 "
}

test_refused_trigger_keeps_the_train_number()
{
	set_file trigger 42
	is "refused" "$(zemtest store --only $zem/trigger abc)" "abc: EINVAL -"
	produce test 0 4 1
	contains "record" "$(take 1)" " train_number=42 "
}

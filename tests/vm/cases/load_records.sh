# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
#
# The records of CPUs and tasks that a trigger causes, byte by byte, and the sampling window that they share with
# the text.

none="0 0 0 0"

# report_loads CYCLES: report in every CYCLES triggers from now on.
report_loads()
{
	echo 1 >$load_views/load_metrics_report
	set_file load_interval "$1"
}

# uploaded_window: the window of the text after an upload starts where the upload's window ended. $wallclock is
# the start of the upload's window.
uploaded_window()
{
	upload_began=$wallclock
	read_load
	window=$((window_start - upload_began))
	holds "length of the upload's window" $window -gt 0
}

# cpu_records TRAIN CYCLES USAGE...: print the records of eight CPUs with the same number of cycles.
cpu_records()
{
	train=$1 cycles=$2 cpu=0
	shift 2
	for usage in "$@"; do
		cpu_record "$train" $cpu "$cycles" "$usage"
		cpu=$((cpu + 1))
	done
}

ran_ns()
{
	cut -d ' ' -f 1 "/proc/$1/schedstat"
}

test_a_trigger_uploads_all_cpus_and_then_the_tasks()
{
	start_load_from_zero
	read_load
	start_task sleepers 2
	other=${tasks#*
}
	echo "$task com.example.app" >$platform/package
	echo "$other org.example" >$platform/package
	echo "$other 10" >$platform/flags
	report_loads 1
	set_counters "$task" 500000 700000 101 18446744073709551615 103 104 1000000 1000000
	set_counters "$other" 0 2800000 201 202 203 204 1000000 1000000
	feed "$task" 1 4000000000
	feed "$other" 0 3000000000
	feed "$other" 1 5000000000
	fix_activity 2001000 2000000
	set_file trigger -5
	uploaded_window
	records_are "records" 11 "$(cpu_records -5 2001000 $capacity_0 $capacity_0 $capacity_0 $capacity_0 \
		$((scale_1 * 2)) $((scale_1 * 2)) $((scale_1 * 2)) $((scale_1 * 2))
		load_record -5 "$task" sleeper-0 "$task" 0 com.example.app "$(ran_ns "$task")" \
			"$(average 0 4000000000)" 17825 "$(ran_ns "$task")" 500000 700000 101 -1 103 104
		load_record -5 "$other" sleeper-1 "$other" 1 org.example "$(ran_ns "$other")" \
			"$(average 3000000000 5000000000)" 45410 "$(ran_ns "$other")" 0 2800000 201 202 203 204 |
			sed "s/$(text_field 16 org.example)/$(text_field 12 org.example)$(text_field 4 app)/"
		kzerod_record -5 $none 0)"

	# The other task sleeps, so it has no load and no record.
	set_counters "$other" 2000000 2800000 205 206 207 208 2000000 2000000
	set_file trigger 6
	records_are "what came since" 10 "$(cpu_records 6 2001000 0 0 0 0 0 0 0 0
		load_record 6 "$other" sleeper-1 "$other" 1 org.example 0 0 $capacity_0 "$(ran_ns "$other")" \
			2000000 2800000 205 206 207 208 |
			sed "s/$(text_field 16 org.example)/$(text_field 12 org.example)$(text_field 4 app)/"
		kzerod_record 6 $none 0)"
}

test_threads_have_records_of_their_own_in_thread_mode()
{
	start_load_from_zero
	read_load
	start_task second-thread
	thread=${tasks#*
}
	echo "$task the.process" >$platform/package
	echo 1 >$load_views/thread_metrics_enabled
	report_loads 1
	feed "$thread" 1 4000000000
	set_counters "$thread" 2000000 0 11 12 13 14 1000000 0
	set_file trigger 4
	uploaded_window
	records_are "records" 11 "$(cpu_records 4 1000 0 0 0 0 0 0 0 0
		load_record 4 "$task" zemtest "$task" 0 the.process "$(ran_ns "$task")" "$(average 0 4000000000)" 0 \
			"$(ran_ns "$task")" 0 0 0 0 0 0
		load_record 4 "$thread" a-second-thread "$task" 0 the.process "$(ran_ns "$task/task/$thread")" 0 \
			$capacity_0 "$(ran_ns "$task/task/$thread")" 2000000 0 11 12 13 14
		kzerod_record 4 $none 0)"
}

# Load from before a load of zem is in no record.
test_priming_at_load_takes_the_baselines()
{
	start_task sleepers 1
	set_counters "$task" 5000000 7000000 1 2 3 4 1000000 1000000
	feed "$task" 0 9000000000
	start_load_from_zero
	report_loads 1
	set_file trigger 2
	records_are "records" 9 "$(cpu_records 2 1000 0 0 0 0 0 0 0 0
		kzerod_record 2 $none 0)"
	set_counters "$task" 7000000 7000000 1 2 3 4 2000000 1000000
	set_file trigger 3
	records_are "since" 10 "$(cpu_records 3 1000 0 0 0 0 0 0 0 0
		load_record 3 "$task" sleeper-0 "$task" 0 "" 0 0 $capacity_0 "$(ran_ns "$task")" 7000000 7000000 1 2 3 4
		kzerod_record 3 $none 0)"
}

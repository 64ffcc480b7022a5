# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
#
# The collector's cycles of 5 s and the trigger's cycles, with the platform's two providers (a memory-indicator
# block of known bytes, a display module that counts its calls) and the scheduler families. Only a trigger
# causes a record of the zero-page daemon.

none="0 0 0 0"
kmem_payload=$(awk 'BEGIN { for (i = 0; i < 864; i++) printf "%02x", (3 * i + 1) % 256 }')

kmem_record()
{
	echo "channel=3 sub_type=0 train_number=$1 len=864 reserved=0 payload=$kmem_payload"
}

# The last record of a trigger's cycle.
no_zero_pages()
{
	kzerod_record "$1" 0 0 0 0 0
}

display_calls()
{
	read -r calls interval <$platform/display_calls
	echo "$calls $interval"
}

test_trigger_uploads_kmem_each_time()
{
	echo 1 >$platform/kmem
	set_file kmemind_interval 0
	for number in 21 22 -23; do
		set_file trigger $number
	done
	is "records" "$(take 6)" "$(for number in 21 22 -23; do
		kmem_record $number
		no_zero_pages $number
	done)"
}

test_trigger_without_a_provider_is_silent()
{
	set_file trigger 5
	is "no more than the last step's" "$(take 1)" "$(no_zero_pages 5)"
	log_is "nothing" ""
}

test_trigger_calls_the_display_module_when_due()
{
	reload_zem
	echo 1 >$platform/display
	read -r before _ <$platform/display_calls
	calls=
	for interval in 10 10 10 10 5 5 0 0 11 11 11; do
		set_file display_interval $interval
		set_file trigger 1
		read -r after last <$platform/display_calls
		calls="$calls$((after - before)):$last "
		before=$after
	done
	is "calls and intervals" "$calls" "$(expected_display_calls "$before")"
}

# Two triggers each with intervals of 2 cycles, 1 cycle, and 0 (off). The count continues meanwhile, so the interval
# of 3 that follows expires immediately, and then not for two more cycles.
expected_display_calls()
{
	first=$(echo "$calls" | sed 's/0:\([^ ]*\) .*/\1/')
	echo "0:$first 1:10 0:10 1:10 1:5 1:5 0:5 0:5 1:11 0:11 0:11 "
}

test_trigger_with_trace_off_collects_nothing_but_keeps_the_number()
{
	without_collector
	echo 1 >$platform/kmem
	set_file trace_on 0
	set_file trigger 77
	# The collector that starts here must not upload it either.
	set_file kmemind_interval 0
	set_file trace_on 1
	produce test 0 4 1
	is "only the record after it" "$(take 1 | sed 's/ payload=.*//')" \
		"channel=11 sub_type=0 train_number=77 len=4 reserved=0"
}

# A block that fills while the family is off is cleared without being uploaded.
test_priming_at_load_uploads_nothing()
{
	echo 1 >$platform/kmem
	reload_zem
	usleep 200000
	is "nothing was recorded" "$(zemtest read $zem/kmem)" "0:"
}

# Twelve cycles would take a minute, so all families and intervals share six.
test_the_thread_collects_each_family_at_its_interval()
{
	start_from_zero
	start_svp_task
	raised svp_runtime 1 2 6000000
	raised irqtime 3 0 77777
	set_file sched_interval 0
	set_file svp_interval 0
	echo 1 >$platform/kmem
	echo 1 >$platform/display
	read -r before _ <$platform/display_calls
	set_file trace_on 0
	set_file trace_on 1
	wait_until 10 has_thread $collector || fail "there is no collector"
	keep_collector_on_one_cpu
	set_file trigger 9
	is "the trigger's" "$(take 2)" "$(kmem_record 9)
$(no_zero_pages 9)"
	set_file sched_interval 2
	set_file svp_interval 1

	# Four cycles: kmem in each, the display module and the histograms in every second one. The task ran
	# before the first cycle, and runs again before the third at the earliest.
	zemtest take 4 40000 >/tmp/cycles
	is "records of two cycles" "$(sed 's/ timestamp=[0-9]*//' /tmp/cycles)" "$(kmem_record 9
		svp_record 9 "$task" "$task" sleeper-0 "" "$none" 0 "0 1 0 0" 6000000 "$none" 0
		kmem_record 9
		sched_record 9)"
	: >/tmp/raised
	raised svp_d_state_duration 6 9 250000000
	raise "vh_sched_info_depart $task 0"
	echo "svp_runtime 0 0 0" >>/tmp/raised
	zemtest take 4 40000 >>/tmp/cycles
	is "records of two more" "$(sed 's/ timestamp=[0-9]*//' /tmp/cycles | tail -n 4)" "$(kmem_record 9
		svp_record 9 "$task" "$task" sleeper-0 "" "$none" 0 "1 0 0 0" 0 "0 0 0 1" 250000000
		kmem_record 9
		sched_record 9)"
	grep channel=3 /tmp/cycles >/tmp/kmem
	cycle_gaps /tmp/kmem 3 4500 8000
	set_file sched_interval 0
	wait_until 3 display_was_called $((before + 2)) 10
	is "display calls" "$(display_calls)" "$((before + 2)) 10"

	# Interval 2, then off; the times show which.
	set_file kmemind_interval 2
	set_file display_interval 0
	zemtest take 2 40000 >/tmp/cycles
	cycle_gaps /tmp/cycles 1 9500 13000
	set_file kmemind_interval 0
	usleep 6000000
	is "kmem when off" "$(zemtest read $zem/kmem)" "0:"
	is "display when off" "$(display_calls)" "$((before + 2)) 10"
	log_is "no more than the switch" "6 trace_on disable
6 trace_on enable"
}

display_was_called()
{
	[ "$(display_calls)" = "$1 $2" ]
}

# cycle_gaps FILE COUNT LEAST MOST: check the ms between the records' times.
cycle_gaps()
{
	gaps=$(sed -n 's/.*timestamp=\([0-9]*\)[0-9]\{6\} .*/\1/p' "$1" |
		awk 'NR > 1 { printf "%d\n", $1 - last } { last = $1 }')
	holds "number of gaps" "$(echo "$gaps" | wc -l)" -eq "$2"
	for gap in $gaps; do
		holds "ms between cycles" "$gap" -ge "$3"
		holds "ms between cycles" "$gap" -le "$4"
	done
}

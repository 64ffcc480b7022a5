# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
#
# The collector's cycles of 5 s and the trigger's cycles, with the platform's two providers (a memory-indicator
# block of known bytes, a display module that counts its calls) and the scheduler families. Only a trigger
# causes a record of the zero-page daemon.

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

# The display module and the histograms run in every second cycle.
test_the_thread_collects_each_family_at_its_interval()
{
	start_from_zero
	start_svp_task
	echo "$task com.example.app" >$platform/package
	play sched svp="$task"
	echo 1 >$platform/kmem
	echo 1 >$platform/display
	read -r before _ <$platform/display_calls
	set_file trigger 9
	is "the trigger's" "$(take 2)" "$(kmem_record 9)
$(no_zero_pages 9)"
	set_file sched_interval 2
	set_file svp_interval 1
	set_file trace_on 0
	since=$(seconds_up)
	set_file trace_on 1
	wait_until 10 has_thread $collector || fail "there is no collector"
	keep_collector_on_one_cpu
	: >/tmp/cycles
	for _ in 1 2 3 4; do
		zemtest take 1 40000 | sed -n 's/ timestamp=[0-9]*//; /^channel=/p' >>/tmp/cycles
		[ "$(grep -c . /tmp/cycles)" -lt 4 ] || break
	done
	is "records of two cycles" "$(cat /tmp/cycles)" "$(kmem_record 9
		echo "$(header 14 9 456)$(golden_svp_payload "$task")"
		kmem_record 9
		echo "$(header 4 9 496)$(golden_payload sched sched_record)")"
	holds "seconds of two cycles" $(($(seconds_up) - since)) -ge 5
	read -r after interval <$platform/display_calls
	holds "display calls" $((after - before)) -ge 1
	holds "display calls, 10 s apart" $((after - before)) -le $((1 + ($(seconds_up) - since) / 10))
	is "the display's interval" "$interval" 10
	log_is "no more than the switch" "6 trace_on disable
6 trace_on enable"
}

# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
#
# /sys/zem/trace_on stops all records, and starts and ends the collector. Ending it takes up to two cycles of 5 s.

test_no_collector_runs_after_load_not_even_after_another_1()
{
	reload_zem
	set_file trace_on 1
	holds "threads" "$(threads $collector)" -eq 0
	holds "consumers" "$(threads rb_consumer)" -eq 1
	log_is "nothing" ""
}

# One test for several checks that need the same waits.
test_0_stops_all_records_and_1_starts_the_collector()
{
	without_collector
	set_file trace_on 0
	log_is "off" "6 trace_on disable"
	is "shown" "$(get_file trace_on)" 0
	is "a write is taken" "$(zemtest store --only $zem/test ignored)" "ignored: 7 -"
	for context in task softirq hardirq run-queue; do
		produce test 0 20 5 context=$context
	done
	produce test 0 8000 1
	set_file trigger 7
	usleep 300000
	is "and nothing was recorded" "$(zemtest read $zem/test)" "0:"
	log_is "not even a refusal" ""

	set_file trace_on 1
	log_is "on" "6 trace_on enable"
	holds "collectors" "$(threads $collector)" -eq 1
	produce test 0 4 1
	contains "records again, with the number written meanwhile" "$(take 1)" " train_number=7 "
	set_file trace_on 1
	log_is "on again" ""
	holds "collectors" "$(threads $collector)" -eq 1

	set_file trace_on 0
	log_is "off" "6 trace_on disable"
	holds "collectors" "$(threads $collector)" -eq 0
	set_file trace_on 0
	log_is "off again" ""
	set_file trace_on 1
	log_is "on" "6 trace_on enable"
	holds "collectors" "$(threads $collector)" -eq 1
}

# Switching off between a producer's reservation and its commit must not leave the reservation open. Each write
# of 0 waits for the collector, so the test takes time.
test_switching_during_a_flood_in_all_contexts_leaks_nothing()
{
	start_drain /tmp/flood
	# Short records in long jobs make it likely that a CPU is within a reservation.
	for cpu in $cpus; do
		flood $cpu task 1000 0 16 &
		flood $cpu hardirq 100 100000 16 &
		flood $cpu run-queue 100 100000 16 &
		flood $cpu softirq 64 100000 16-200 &
	done
	usleep 500000
	for _ in $(rounds 2 3); do
		for state in 0 1; do
			set_file trace_on $state
			usleep 500000
		done
	done
	stop_floods
	wait_until 60 consumer_is_idle || fail "the consumer does not come to rest"
	stop_drain

	found=$(zemtest verify /tmp/flood)
	holds "records" "$(echo "$found" | sed 's/records=\([0-9]*\).*/\1/;q')" -gt 500
	contains "whole ones" "$found" " torn=0 elsewhere=0 left_over=0"
	contains "once each" "$found" " repeated=0 "
	rm -f /tmp/flood

	# An open reservation would block its CPU's ring, and a record left behind would arrive now.
	for context in task softirq hardirq run-queue; do
		for cpu in $cpus; do
			produce fs 1 20 1 cpu=$cpu context=$context
		done
		is "one record of each CPU, $context" \
			"$(take "$(echo "$cpus" | wc -w)" | sed 's/ train_number.*context=/ /; s/ .*//')" \
			"$(for cpu in $cpus; do echo channel=10; done)"
	done
}

# On one CPU after the other: CPUs that contend for a lock are slow on an emulator. The ring has room for all
# records, and each record has its pass, so no later record is needed.
test_a_flood_in_all_contexts_of_a_cpu_arrives_complete()
{
	resize_ring 1048576
	start_drain /tmp/flood
	for cpu in $cpus; do
		produce test 0 16 1 cpu=$cpu
		jobs=''
		for job in "1000 context=task" "64 context=softirq" "64 context=hardirq" "64 context=run-queue"; do
			produce test 0 16 ${job% *} cpu=$cpu ${job#* } &
			jobs="$jobs $!"
		done
		# shellcheck disable=SC2086 # a word for each
		wait $jobs
	done
	drained_each_record_of_eight_cpus /tmp/flood $((1 + 1000 + 64 + 64 + 64))
}

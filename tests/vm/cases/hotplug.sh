# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
#
# CPUs are taken offline with records in their ring buffers and while producers run. A pass of the consumer takes
# no record of an offline CPU; its records stay until passes find it online.

switch_cpu()
{
	echo "$2" >"/sys/devices/system/cpu/cpu$1/online" || fail "CPU $1 does not change to $2"
}

is_online()
{
	[ "$(cat "/sys/devices/system/cpu/cpu$1/online")" = 1 ]
}

can_switch_cpus()
{
	[ -e /sys/devices/system/cpu/cpu3/online ] && return
	skip "this kernel does not take CPUs offline"
	return 1
}

# Leave 5 records in the ring of CPU 3, then offline. The consumer waits for the hand-back of a full buffer
# meanwhile, for at most 5 s. Fails if that was not long enough.
leave_records_on_cpu_3()
{
	if ! is_online 3; then
		switch_cpu 3 1
		# Passes for the records of the previous attempt.
		produce test 0 16 10 cpu=0
	fi
	zemtest flush
	mark_log
	produce test 0 3950 2 cpu=0
	wait_until 20 pending 2
	produce fs 3 20 5 cpu=3
	switch_cpu 3 0
	is "the full buffer" "$(zemtest read $zem/trace)" "4:1c1f0000"
	! log_has "6 read data timeout" 1 && ! log_has "6 read data timeout, drop it" 1
}

test_records_of_a_cpu_stay_while_it_is_offline()
{
	can_switch_cpus || return 0
	attempts=1
	until leave_records_on_cpu_3; do
		attempts=$((attempts + 1))
		[ $attempts -le 5 ] || break
	done
	holds "attempts" $attempts -le 5
	is "its producer" "$(zemtest store --only $platform/produce 'fs 3 20 1 cpu=3')" "fs 3 20 1 cpu=3: EINVAL -"
	produce fs 0 20 2 cpu=0
	wait_until 20 consumer_is_idle || fail "the consumer does not come to rest"
	is "records of the others" "$(take 2 | cut -d ' ' -f 2)" "sub_type=0
sub_type=0"

	switch_cpu 3 1
	# One pass for each record.
	produce fs 0 20 5 cpu=0
	wait_until 20 consumer_is_idle || fail "the consumer does not come to rest"
	take 10 >/tmp/taken
	is "its records" "$(grep -c 'sub_type=3 .* cpu=3 ' /tmp/taken)" 5
	is "in their order" "$(sed -n 's/.*sub_type=3 .* stamp=\([0-9]*\).*/\1/p' /tmp/taken)" \
		"$(sed -n 's/.*sub_type=3 .* stamp=\([0-9]*\).*/\1/p' /tmp/taken | sort -n)"
	# A failed attempt may have logged a time-out.
	log_is_checked=1
}

# The ring has room for everything that is produced.
test_a_storm_loses_nothing_while_cpus_go_and_come()
{
	can_switch_cpus || return 0
	resize_ring 1048576
	start_drain /tmp/storm
	for cpu in $cpus; do
		produce test 0 16 1 cpu=$cpu
	done
	for cpu in $cpus; do
		flood $cpu task 20 50000 16 &
	done
	for cpu in 3 7; do
		switch_cpu $cpu 0
		usleep 200000
		switch_cpu $cpu 1
	done
	stop_floods
	# Passes for the records that a CPU left behind.
	produce test 0 16 200 cpu=0
	stop_drain_after_the_last
	found=$(zemtest verify /tmp/storm | sed 's/out_of_order=[0-9]* //')
	contains "all of them" "$found" " cpus=8 missing=0 repeated=0 torn=0 elsewhere=0 left_over=0"
	holds "records" "$(echo "$found" | sed 's/records=\([0-9]*\).*/\1/;q')" -gt 500
	rm -f /tmp/storm
}

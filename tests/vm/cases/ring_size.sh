# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
#
# /sys/zem/rb_size: the size of the ring buffer for each CPU, in bytes.

# The kernel's ring buffer has whole pages less their headers, so the size differs a little.
test_reading_logs_the_size_of_every_cpu()
{
	size=$(get_file rb_size)
	holds "at load" "$size" -ge 8192
	log_is "a line for each CPU" "$(for cpu in $cpus; do echo "6 cpu $cpu rb_size = $size"; done)"
}

test_sizes_outside_4096_to_1048576_are_refused()
{
	is "writes" "$(zemtest store $zem/rb_size 4095 1048577 -1 0 abc '' 4294971392x 10000000000 |
		sed 's/ [0-9]*$//')" "4095: EINVAL
1048577: EINVAL
-1: EINVAL
0: EINVAL
abc: EINVAL
: 0
4294971392x: 11
10000000000: EINVAL"
	ring_was_resized=1
}

test_records_flow_at_any_size()
{
	for size in 4096 1048576 65536 4096; do
		resize_ring $size
		holds "size of $size" "$(get_file rb_size)" -ge $size
		for cpu in $cpus; do
			produce test 0 40 1 cpu=$cpu
		done
		is "records at $size" "$(take "$(echo "$cpus" | wc -w)" | grep -c stamp=)" \
			"$(echo "$cpus" | wc -w)"
	done
	is "trailing text" "$(zemtest store --only $zem/rb_size '8192x' '8192\n')" "8192x: 5 -
8192\\n: 5 -"
}

test_a_larger_ring_keeps_more_records()
{
	resize_ring 1048576
	# The consumer waits on a full buffer; 1000 records of 500 bytes fit into the ring meanwhile.
	produce test 0 3936 1 cpu=0
	produce test 0 3937 1 cpu=0
	wait_until 10 pending 2
	produce test 1 468 1000 cpu=2
	take 2 >/dev/null
	start_drain /tmp/kept
	stop_drain
	contains "all of them" "$(zemtest verify /tmp/kept channel=11)" \
		"records=1000 cpus=1 missing=0 repeated=0 out_of_order=0 torn=0"
	rm -f /tmp/kept
}

test_resizing_while_all_cpus_produce_breaks_nothing()
{
	for cpu in $cpus; do
		flood $cpu task 32 1000 &
	done
	start_drain /tmp/resized
	for size in 4096 1048576 8192 262144 4096 65536; do
		resize_ring $size
		usleep 200000
	done
	stop_floods
	stop_drain
	found=$(zemtest verify /tmp/resized channel=11 context=0)
	holds "records" "$(echo "$found" | sed 's/records=\([0-9]*\).*/\1/;q')" -gt 500
	contains "what came through" "$found" "repeated=0 out_of_order=0 torn=0 elsewhere=0 left_over=0"
	rm -f /tmp/resized
	zemtest flush
	# A reservation may fail during the resize, which is logged.
	log_is_checked=1
	is "errors" "$(log | grep '^[0-3] ' | grep -v ' get ringbuffer fail event_len:')" ""
}

# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
#
# Records, header and payload byte by byte, of each channel, length and producing context.

header()
{
	echo "channel=$1 sub_type=$2 train_number=$3 len=$4 reserved=0"
}

test_a_write_to_each_channel_file_is_one_record()
{
	row=0 wanted=
	for channel in $channels; do
		printf 'hi %02d' $row >$zem/$channel
		wanted="$wanted$(header $row 0 1 5) payload=$(printf 'hi %02d' $row | xxd -p)
"
		row=$((row + 1))
	done
	is "records" "$(take 21 | sort -t= -k 2n)" "${wanted%?}"
}

test_each_setter_writes_its_own_channel()
{
	row=0 wanted=
	for channel in $channels; do
		produce $channel $((row + 100)) 3 1 cpu=0
		wanted="$wanted$(header $row $((row + 100)) 1 3)
"
		row=$((row + 1))
	done
	is "headers" "$(take 21 | sed 's/ payload=.*//')" "${wanted%?}"
}

test_train_number_is_1_after_load_then_as_triggered()
{
	reload_zem
	set_file kioind_interval 0
	set_file sched_interval 0
	produce test 0 4 1 cpu=0
	for number in 42 0 -5; do
		set_file trigger $number
		produce test 0 4 1 cpu=0
	done
	is "train numbers" "$(take 7 | sed -n 's/^channel=11 .*\(train_number=[^ ]*\).*/\1/p')" "train_number=1
train_number=42
train_number=0
train_number=-5"
}

test_timestamp_is_the_wall_clock_of_the_call()
{
	before=$(zemtest now)
	produce test 0 4 1
	after=$(zemtest now)
	time=$(zemtest take 1 | sed 's/.*timestamp=\([0-9]*\).*/\1/')
	holds "not earlier" "$time" -ge "$before"
	holds "not later" "$time" -le "$after"
}

test_a_channel_file_takes_479_bytes()
{
	text=$(head -c 479 /dev/zero | tr '\0' a)
	is "write" "$(zemtest store --only $zem/wifi "$text")" "$text: 479 -"
	is "record" "$(take 1)" "$(header 7 0 1 479) payload=$(printf %s "$text" | xxd -p | tr -d '\n')"
	log_is "nothing" ""
}

test_a_channel_file_refuses_480_bytes()
{
	text=$(head -c 480 /dev/zero | tr '\0' a)
	is "write" "$(zemtest store --only $zem/wifi "$text")" "$text: EINVAL -"
	is "nothing was recorded" "$(zemtest read $zem/wifi)" "0:"
	# The message ends with a space.
	log_is "the refusal" "3 buf len limit "
}

# The stamp holds the context that the producing code found.
test_all_cpus_produce_in_all_contexts()
{
	for context in task softirq hardirq run-queue; do
		for cpu in $cpus; do
			produce fs 1 20 1 cpu=$cpu context=$context
		done
		got=$(take "$(echo "$cpus" | wc -w)" | sed 's/stamp=[0-9]* //' | sort)
		wanted=$(for cpu in $cpus; do
			echo "$(header 10 1 1 20) cpu=$cpu context=$context"
		done | sort)
		is "$context" "$got" "$wanted"
	done
}

test_the_largest_payload_is_whole()
{
	for context in task softirq hardirq run-queue; do
		produce test 1 $largest 1 cpu=1 context=$context
		contains "$context" "$(take 1)" "$(header 11 1 1 $largest) stamp="
	done
	log_is "nothing" ""
}

test_a_payload_one_larger_is_refused_by_the_ring_buffer()
{
	produce test 0 $((largest + 1)) 1
	produce test 0 7904 1
	produce test 0 7904 1 context=run-queue
	log_is "event lengths" "3 get ringbuffer fail event_len:$((largest + 33))
3 get ringbuffer fail event_len:7936
3 get ringbuffer fail event_len:7936"
	is "nothing was recorded" "$(zemtest read $zem/test)" "0:"
}

test_a_payload_above_7904_bytes_is_too_large()
{
	produce test 0 7905 1
	produce test 0 2147483615 1
	produce test 0 7905 1 context=run-queue
	log_is "event lengths" "3 zem : too large data 7937 !
3 zem : too large data 2147483647 !
3 zem : too large data 7937 !"
	is "nothing was recorded" "$(zemtest read $zem/test)" "0:"
}

# More messages would keep the interrupt that writes them to the console from ever returning.
test_refusals_with_interrupts_off_do_not_flood_the_log()
{
	refused=/sys/module/zem/counters/records_refused
	before=$(cat $refused)
	produce test 0 7904 20000 context=hardirq
	is "counted" $(($(cat $refused) - before)) 20000
	logged=$(log | grep -cxF "3 get ringbuffer fail event_len:7936")
	holds "logged" "$logged" -ge 900
	holds "logged" "$logged" -lt 20000
	log_is_checked=1
}

test_negative_lengths_are_refused()
{
	for length in -1 -32 -33 -2147483648 2147483647; do
		produce test 0 $length 1
	done
	log_is "event lengths" "3 get ringbuffer fail event_len:31
3 get ringbuffer fail event_len:0
3 get ringbuffer fail event_len:-1
3 get ringbuffer fail event_len:-2147483616
3 get ringbuffer fail event_len:-2147483617"
	produce test 0 4 1
	is "the next one is fine" "$(take 1 | wc -l)" 1
}

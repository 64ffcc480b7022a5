# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
#
# Reading a channel file returns the number of pending bytes and empties the shared buffer.

test_a_read_returns_the_pending_bytes_as_a_binary_number()
{
	produce test 0 68 1
	wait_until 10 pending 1
	is "read" "$(zemtest read $zem/usb)" "4:64000000"
}

test_a_read_of_the_empty_buffer_has_no_bytes()
{
	is "read" "$(zemtest read $zem/trace)" "0:"
	is "size by cat" "$(cat $zem/trace | wc -c)" 0
}

test_any_channel_file_hands_back()
{
	for channel in $channels; do
		printf 12345678 >$zem/test
		wait_until 10 pending 1
		is $channel "$(zemtest read $zem/$channel)" "4:28000000"
		is "$channel again" "$(zemtest read $zem/$channel)" "0:"
	done
}

test_the_whole_buffer_is_zero_after_a_hand_back()
{
	produce test 1 3900 2 cpu=0
	wait_until 10 pending 2
	contains "before" "$(zemtest map 8192)" "bytes not 0: "
	is "read" "$(zemtest read $zem/trace)" "4:b81e0000"
	is "after" "$(zemtest map 8192)" "mapped, 0 bytes not 0:$(printf ' 00%.0s' $(seq 32))"
}

test_records_after_a_hand_back_begin_at_byte_0_again()
{
	for text in first second; do
		printf %s $text >$zem/test
		contains $text "$(take 1)" "payload=$(printf %s $text | xxd -p)"
	done
}

test_a_reader_that_reads_byte_by_byte_gets_one_number()
{
	printf 12345678 >$zem/test
	wait_until 10 pending 1
	is "bytes" "$(dd if=$zem/trace bs=1 2>/dev/null | xxd -p)" 28000000
}

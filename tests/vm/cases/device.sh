# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
#
# /dev/zem_shared: allowed and refused mappings, and unsupported operations.

zeros()
{
	printf ' 00%.0s' $(seq "$1")
}

test_it_is_a_misc_device()
{
	is "type and major number" "$(stat -c '%F %t' /dev/zem_shared)" "character special file a"
}

test_only_root_may_open_it()
{
	is "mode and owner" "$(stat -c '%a %u:%g' /dev/zem_shared)" "600 0:0"
	is "as another user" "$(zemtest as 1000 zemtest map 8192 2>&1)" "zemtest: /dev/zem_shared: Permission denied"
}

test_one_or_both_pages_can_be_mapped()
{
	for size in 1 4096 4097 8192; do
		contains "$size bytes" "$(zemtest map $size)" "mapped, 0 bytes not 0:$(zeros 32)"
	done
}

test_more_than_8192_bytes_can_not_be_mapped()
{
	for size in 8193 12288 1048576; do
		is "$size bytes" "$(zemtest map $size)" EMSGSIZE
	done
}

test_every_mapping_begins_at_byte_0_whatever_its_offset()
{
	printf 'offset' >$zem/battery
	wait_until 10 pending 1
	at_0=$(zemtest map 4096)
	contains "the header" "$at_0" "14 00$(zeros 10) 06 00 00 00$(zeros 4)"
	for offset in 4096 8192 40960; do
		is "from $offset" "$(zemtest map 4096 $offset)" "$at_0"
	done
}

test_a_mapping_of_one_page_has_only_the_first_page()
{
	produce test 0 3900 2 cpu=0
	wait_until 10 pending 2
	both=$(zemtest map 8192 | sed 's/mapped, \([0-9]*\) .*/\1/')
	one=$(zemtest map 4096 | sed 's/mapped, \([0-9]*\) .*/\1/')
	holds "bytes in use" "$both" -gt 7600
	holds "bytes in use" "$one" -le 4096
	holds "bytes in use" "$one" -gt 3800
}

test_several_readers_see_the_same_bytes()
{
	zemtest hold >/tmp/held &
	one=$!
	zemtest hold >/tmp/held2 &
	two=$!
	wait_until 20 grep -q holding /tmp/held
	wait_until 20 grep -q holding /tmp/held2
	printf 'seen' >$zem/dp
	wait_until 10 pending 1
	is "a third and a fourth" "$(zemtest map 8192)" "$(zemtest map 8192)"
	contains "the record" "$(take 1)" " len=4 "
	end $one $two
}

test_a_mapping_is_writable_only_if_the_device_was_opened_for_writing_and_never_grows()
{
	printf 'pending' >$zem/dp
	wait_until 10 pending 1
	is "mappings" "$(zemtest mappings)" "writable, of a file open for reading: EACCES
made writable later: EACCES
a shared write: seen
a shared write, in a private mapping: seen
a private write, by itself: seen
a private write, by others: not seen
a shared write, in a page that was written privately: not seen
a third page: EFAULT
a second mapping, by an old size of 0: EFAULT
to another address: done
and the bytes, there: seen
one page less: done
and the second page again: EFAULT"
	is "hand-back" "$(zemtest read $zem/trace)" "4:27000000"
}

# The kernel does not read the buffer: the next hand-back removes what a mapping wrote.
test_a_hand_back_clears_what_a_mapping_wrote()
{
	for from in 40 0; do
		printf 'pending.' >$zem/dp
		wait_until 10 pending 1
		zemtest scribble $from
		contains "from $from" "$(zemtest map 8192)" "mapped, 81"
		is "hand-back" "$(zemtest read $zem/trace)" "4:28000000"
		is "after" "$(zemtest map 8192)" "mapped, 0 bytes not 0:$(zeros 32)"
	done
	printf 'next' >$zem/dp
	contains "the next record" "$(take 1)" " len=4 "
}

test_it_does_not_read_write_or_control()
{
	is "refusals" "$(zemtest refusals)" "read: EINVAL
write: EINVAL
ioctl: ENOTTY"
}

# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
#
# IO by user: the two control files with every refusal, the states, and the lists of users with the most IO, with
# known numbers of bytes.

data=/dev/block/by-name/userdata
maps=10050 backup=10060

# stored FILE TEXT...: print only the results of the writes.
stored()
{
	file=$1
	shift
	for text in "$@"; do
		zemtest store --only "$file" "$text" | sed -n '$s/^.*: \([^ ]*\) -$/\1/p'
	done | tr '\n' ' '
}

# padded TEXT LENGTH: append blanks.
padded()
{
	printf '%-*s' "$2" "$1"
}

# zeros_of COUNT: print zeros that precede a number.
zeros_of()
{
	printf '%0*d' "$1" 0
}

# users: print the users in either list.
users()
{
	show_users
	sed -n 's/^ *Top *[0-9]*: \([1-9][0-9]*\) .*/\1/p' /tmp/users | sort -nu | tr '\n' ' '
}

# known UID...: make users known, so that the lists include them.
known()
{
	for uid in "$@"; do
		echo "$uid 0" >$procstat/set
	done
	cat $kioind/show2_uid_io >/dev/null
}

test_there_are_two_files_that_are_only_written()
{
	is "modes and names" "$(cd $procstat && stat -c '%a %n' -- * | sort -k 2)" "222 remove_uid_range
222 set"
	for file in set remove_uid_range; do
		is "reading $file" "$(zemtest read $procstat/$file)" EIO
		is "a bad buffer for $file" "$(zemtest fault $procstat/$file)" EFAULT
	done
}

test_a_state_that_is_understood()
{
	fresh_io
	is "writes" "$(stored $procstat/set '10050 0' '10051 1\n' "10052$(printf '\t')0" '10053\n1' '  10054 0' '10055 1 and more' \
		'10056 0x' '010057 0' '4294967295 0')" "7 8 7 7 9 16 8 8 12 "
	is "before anything is known of them" "$(users)" ""
	# UIDs are shown as signed numbers.
	is "users" "$(users)" "10050 10051 10052 10053 10054 10055 10056 10057 "
	is "the largest" "$(grep -c 'Top[ 0-9]*: -1 ' /tmp/users)" 2
}

test_a_state_that_is_refused()
{
	fresh_io
	is "writes" "$(stored $procstat/set '' x 10050 '10050 2' '10050 -1' '10050 x' 'x 0' '10050,0' '-1 0' ' ' '10050 ' \
		'10050\0 0' '10050 +1' '10050 99999999999')" \
		"$(printf 'EINVAL %.0s' $(seq 14))"
	users >/dev/null
	is "users" "$(users)" ""
}

# The process that user space calls its activity manager need not be root.
test_any_user_may_set_states()
{
	fresh_io
	zemtest as 1000 sh -c "echo 10050 0 >$procstat/set" || fail "the write fails"
	users >/dev/null
	is "users" "$(users)" "10050 "
	zemtest as 1000 sh -c "echo 10050-10050 >$procstat/remove_uid_range" || fail "the write fails"
	known 10051
	is "users" "$(grep -c ' 10051 ' /tmp/users) $(users)" "0 10051 "
}

test_a_range_that_is_refused()
{
	is "writes" "$(stored $procstat/remove_uid_range '' 5 x-y 5- -5 - '5 - 6' '0x5-6' '5-6x' ' 5-6' '5-6-7' '5-6 ' \
		'5-99999999999999999999' '99999999999999999999-5' '\n-5' '5-6\n\n')" "$(printf 'EINVAL %.0s' $(seq 16))"
}

test_a_range_that_is_understood_forgets_its_users()
{
	fresh_io
	known 1 9 10 11 12 13 14 15 20
	is "writes" "$(stored $procstat/remove_uid_range 10-11 '13-13\n' '+15-+16' '1\n-1' '20-19' '5--6' '012-12')" "5 6 7 4 5 4 6 "
	set_file kioind_interval 1
	set_file trigger 3
	take 2 >/dev/null
	is "users" "$(users)" "9 14 20 "
}

test_a_range_without_an_end_is_forgotten_quickly()
{
	fresh_io
	known 10050 10051 4294967294
	begun=$(centiseconds_up)
	is "writes" "$(stored $procstat/remove_uid_range 10051-9223372036854775807 20-10)" "25 5 "
	is "backwards" "$(stored $procstat/remove_uid_range 9223372036854775807-0)" "21 "
	holds "hundredths of a second" $(($(centiseconds_up) - begun)) -lt 300
	set_file kioind_interval 1
	set_file trigger 3
	take 2 >/dev/null
	is "users" "$(users)" "10050 "
}

# Only the first 127 bytes of a longer text are used, whatever the rest would mean.
test_a_range_is_taken_up_to_127_bytes()
{
	fresh_io
	known 10050 10051 10052 10053
	# 126, 127, 128 and 200 bytes: the third text loses its last digit, the fourth a word.
	is "writes" "$(stored $procstat/remove_uid_range "$(zeros_of 115)10050-10050" "$(zeros_of 116)10051-10051" \
		"$(zeros_of 117)10052-10052" "10053-$(zeros_of 116)10053$(printf '%073d' 0)" \
		"10053-10053$(printf '\\n')$(padded '' 120)")" "126 127 127 127 EINVAL "
	set_file kioind_interval 1
	set_file trigger 3
	take 2 >/dev/null
	is "users" "$(users)" "10052 "
}

# The state is looked up before the first bio makes the user known, but the bio counts.
test_the_first_bio_of_a_user_is_not_marked_and_later_ones_are()
{
	fresh_io
	raise_as $maps vh_blk_bio_submit $data
	is "first" "$(cat $platform/bio_flags)" 0
	raise_as $maps vh_blk_bio_submit $data
	is "second" "$(cat $platform/bio_flags)" 2000
	echo "$maps 1" >$procstat/set
	raise_as $maps vh_blk_bio_submit $data times=3
	is "in the background" "$(cat $platform/bio_flags)" 0
	echo "$maps 0" >$procstat/set
	raise_as $maps vh_blk_bio_submit /dev/block/sda
	is "in the foreground again" "$(cat $platform/bio_flags)" 2000
	show_users
	raise_as $maps vh_blk_bio_submit $data times=5
	show_users
	is "bios" "$(top_of $maps 6 7 14 15)" "5 0 8 3"
}

# They count for the current task's user, whatever task the hook names, and only if the user is known.
test_transfers_are_counted_for_the_user_that_makes_them()
{
	fresh_io
	start_task sleepers 1
	raise_as $maps vh_task_wchar "$task" 1000
	known $maps
	raise_as $maps vh_task_wchar "$task" 7
	raise_as $maps vh_task_wchar "$task" 4096 dsync times=2
	raise_as $maps vh_task_wchar "$task" -4
	raise_as $maps vh_task_rchar "$task" 100 times=3
	raise_as $maps vh_task_rchar "$task" -4
	raise_as $backup vh_task_wchar "$task" 4
	show_users
	is "bytes" "$(top_of $maps 8 9 16 17)" "8192 7 8192 7"
	is "one that is not known" "$(top_of $backup 1)" ""
	collect 1
	payload=$(payload_of "$record")
	is "calls" "$(echo "$payload" | cut -c $(((1000 + 80) * 2 + 1))-$(((1000 + 88) * 2)))" "$(le 8 3)"
}

# Transfers count for the current task's user, waits for the user of the waiting task.
test_other_modules_count_and_ask_through_the_exports()
{
	fresh_io
	insmod /share/zem_exports_test.ko || fail "zem_exports_test does not load"
	exports=/sys/kernel/debug/zem_exports_test
	known $backup $maps
	start_task sleepers 1 $maps
	for transfer in "5 dsync" "6 write" "7 no-kiocb" "8 read" "9 read"; do
		zemtest as $maps echo "$transfer" >$exports/transfer
	done
	echo "$task 1000" >$exports/iowait
	echo "$task on" >$platform/iowait
	echo "$task 20" >$exports/iowait
	echo 1 2 3 4 5 >$platform/kzerod
	set_file display_interval 7
	is "answers" "$(grep -v " $backup " $exports/answers)" "foreground $maps
display_interval 7
kzerod 1 2 3 4 5
uid $maps swc 5 awc 13 reads 2 iowait 20"
	echo "$task 30" >$exports/iowait
	echo "$task off" >$platform/iowait
	show_users
	is "list of waits" "$(sed -n '/uid_iowait/,$p' /tmp/users | sed -n 2p)" "$(iowait_row 1 $maps 50 30)"
	echo "$maps 1" >$procstat/set
	is "the one before it" "$(grep foreground $exports/answers)" "foreground $backup"
	rmmod zem_exports_test || fail "zem_exports_test does not go"
}

# by_bucket UID...: print them in the order of the table, which has a chain for each value of the upper ten bits.
by_bucket()
{
	for uid in "$@"; do
		echo "$(((uid * 0x61c88647 & 0xffffffff) >> 22)) $uid"
	done | sort -n | cut -d ' ' -f 2
}

# Twelve users, of which the seventh has read the most. The lists have ten entries.
test_the_ten_with_most_io_are_listed_in_order()
{
	fresh_io
	open_disks_to_users $data
	all=$(seq 10001 10012)
	pids= bytes=
	for uid in $all; do
		echo "$uid $((uid % 2))" >$procstat/set
		start_user "$uid" pieces $data read 4096 $(((uid * 7 - 70000) % 13)) direct
		pids="$pids $task"
	done
	show_users
	# shellcheck disable=SC2086 # ids
	continue_users $pids
	cat $kioind/show2_uid_io >/tmp/shown
	{
		echo "$users_title"
		rank=1
		for count in 12 11 10 9 8 7 6 5 4 3; do
			for uid in $all; do
				[ $(((uid * 7 - 70000) % 13)) -eq $count ] || continue
				read_bytes="$((count * 4096 * (1 - uid % 2))) 0 $((count * 4096 * (uid % 2))) 0 0 0 0 0"
				# shellcheck disable=SC2086 # numbers
				user_row $rank "$uid" $((count * 4096)) $read_bytes $read_bytes
				rank=$((rank + 1))
			done
		done
		# No user has waited, so the list has the first ten users of the table.
		echo "$iowait_title"
		rank=1
		# shellcheck disable=SC2086 # numbers
		for uid in $(by_bucket $all | head -n 10); do
			iowait_row $rank "$uid" 0 0
			rank=$((rank + 1))
		done
	} >/tmp/wanted
	text_files_are "view"
	is "a second look" "$(show_users && users | wc -w) $(awk '/Top/ { sum += $4 } /iowait/ { exit } END { print sum }' /tmp/users)" "10 0"
}

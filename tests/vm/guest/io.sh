# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh disable=SC2034,SC2154 # the cases use these variables, and lib.sh sets others
#
# Helpers of the block IO tests: bios raised by hand, users that do real IO, and the record. Sourced by main.

kioind=/sys/kioind
procstat=/proc/zem_procstat
disks="/dev/block/sda /dev/block/sde /dev/block/by-name/super /dev/block/by-name/userdata"

# fresh_io: clear all counters. Nothing is collected except on request.
fresh_io()
{
	reload_zem
	set_file kioind_interval 0
	set_file sched_interval 0
	set_file svp_interval 0
}

# disk_number PATH: print MAJOR:MINOR.
disk_number()
{
	cat "/sys/class/block/$(basename "$(readlink -f "$1")")/dev"
}

# --- bios by hand ---------------------------------------------------------------------------------

# bio DISK OPERATION PAGES NS FLAGS [PID]: raise the end of a bio that took NS for each page. With many pages
# a delay of the machine meanwhile has no effect on the result.
bio()
{
	wait_until 60 machine_is_older $(($3 * $4))
	raise "vh_blk_bio_endio $1 $2 $3 $(($3 * $4)) $5 ${6:-0}"
}

# machine_is_older NS: no bio can be older than the machine.
machine_is_older()
{
	[ $(($(centiseconds_up) * 10000000)) -gt "$1" ]
}

# bios_are WHAT FOREGROUND BACKGROUND READS SYNC_WRITES ASYNC_WRITES: compare the counts of the view. Reading
# it begins a new interval.
bios_are()
{
	is "$1" "$(sed -n '2,3p' $kioind/show3_bio_time)" "fg bio_count: $2; bg bio_count: $3
read bio count: $4; write sync bio count: $5; write async bio count: $6"
}

# --- the record -----------------------------------------------------------------------------------

# payload_of TEXT: print the payload of a kio record that take printed.
payload_of()
{
	echo "$1" | sed -n 's/^channel=5 .* payload=//p'
}

# payload_without_disks: print the payload of $record with zeros instead of the disks' statistics.
payload_without_disks()
{
	payload_of "$record" | awk -v none="$(zeros 88)" '{
		for (i = 0; i < 4; i++)
			$0 = substr($0, 1, 16 + 496 * i) none substr($0, 16 + 496 * i + 177)
		print
	}'
}

# collect TRAIN_NUMBER: trigger a collection. $record is the kio record with its header.
collect()
{
	set_file kioind_interval 1
	set_file trigger "$1"
	record=$(take 2 | grep '^channel=5 ')
	set_file kioind_interval 0
}

# --- users ----------------------------------------------------------------------------------------

# raise_as UID HOOK ARGUMENT...: raise a hook in a task of that user.
raise_as()
{
	uid=$1
	shift
	zemtest as "$uid" echo "$*" >$platform/raise
}

# start_user UID COMMAND...: start a zemtest command of that user that stops itself; $task is its id.
start_user()
{
	user=$1
	shift
	zemtest as "$user" zemtest "$@" >/tmp/user.log 2>&1 &
	task=$!
	helpers="$helpers $task"
	wait_until 30 is_stopped $task || fail "zemtest $* does not start: $(cat /tmp/user.log)"
}

# continue_users PID...: continue all concurrently, and wait until each has stopped itself again.
continue_users()
{
	kill -CONT "$@"
	for pid in "$@"; do
		wait_until 60 has_worked "$pid" || fail "$pid does not stop"
	done
}

# has_worked PID: succeed if a continued task has stopped again. Its earlier stop is no longer reported
# after the sleep.
has_worked()
{
	usleep 20000
	is_stopped "$1"
}

# accounted FIELD PID: print the kernel's number of bytes.
accounted()
{
	sed -n "s/^$1: //p" "/proc/$2/io"
}

# show_users: copy the view to /tmp/users for top_of, because each reading builds the lists again.
show_users()
{
	cat $kioind/show2_uid_io >/tmp/users
}

# top_of UID COLUMN...: print columns of the list by bytes: 1 is the increase in bytes, 2 to 9 the increases
# of frb fwb brb bwb fbc bbc swc awc, 10 to 17 their totals.
top_of()
{
	uid=$1
	shift
	awk -v uid="$uid" -v columns="$*" '
		/iowait/ { exit }
		{ sub(/Top */, "Top ") }
		$1 == "Top" && $3 == uid {
			count = split(columns, column)
			for (i = 1; i <= count; i++)
				printf i < count ? "%s " : "%s\n", $(3 + column[i])
		}' /tmp/users
}

# user_row RANK UID TOTAL DELTA*8 VALUE*8: print a line of the list by bytes.
user_row()
{
	printf '%16s%2d: %-8d%-16s%-16s%-16s%-16s%-16s%-16s%-16s%-16s%-16s%-16s%-16s%-16s%-16s%-16s%-16s%-16s%-16s\n' \
		Top "$@"
}

# iowait_row RANK UID VALUE DELTA: print a line of the list by IO wait.
iowait_row()
{
	printf '%16s%2d: %-8d%-16s%-16s\n' Top "$@"
}

users_title="
/proc/uid_io/stats: uid     delta           delta_frb       delta_fwb       delta_brb       delta_bwb       delta_fbc       delta_bbc       delta_swc       delta_awc       frb             fwb             brb             bwb             fbc             bbc             swc             awc"
iowait_title="
/proc/uid_iowait/stats: uid     iowait           delta_iowait"

# start_null_disk [ATTRIBUTE=VALUE...]: create /dev/nullb0, which power 0 removes and power 1 adds.
start_null_disk()
{
	# The disk of another case has other properties.
	! grep -q '^null_blk ' /proc/modules || rmmod null_blk || fail "null_blk is in use"
	modprobe null_blk nr_devices=0 || fail "null_blk does not load"
	grep -q configfs /proc/mounts || mount -t configfs configfs /sys/kernel/config
	mkdir /sys/kernel/config/nullb/nullb0
	for attribute in size=64 "$@"; do
		echo "${attribute#*=}" >/sys/kernel/config/nullb/nullb0/"${attribute%%=*}"
	done
	power 1
}

# power 0|1
power()
{
	echo "$1" >/sys/kernel/config/nullb/nullb0/power
}

# Remove the disk, which must not be open or tracked any more.
end_null_disk()
{
	rmdir /sys/kernel/config/nullb/nullb0
	rmmod null_blk || fail "its driver does not go"
}

# Let apps, which cannot open disks otherwise, use them.
open_disks_to_users()
{
	for disk in "$@"; do
		chmod 666 "$(readlink -f "$disk")"
	done
}

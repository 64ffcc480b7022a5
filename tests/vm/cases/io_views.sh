# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
#
# /sys/kioind: its files, their complete texts, and the search for the tracked devices.

data=/dev/block/by-name/userdata

# sizes_and_devices: print the beginning of show1_diskstats. The addresses differ between loads, and are hashed.
sizes_and_devices()
{
	echo "sizeof(struct kioind)=3936(Bytes), sizeof(u64)=8, sizeof(unsigned long)=8, sizeof(unsigned int)=4, sizeof(unsigned short)=2, sizeof(uid_t)=4, sizeof(b_q2c)=2560"
	echo
	printf 'dev(major, minor): '
	separators='|||'
	for disk in $disks; do
		separator=$(echo "$separators" | cut -c 1)
		separators=${separators#?}
		printf '%s(%s,ADDRESS)%s' "$disk" "$(disk_number "$disk" | tr : ,)" "${separator:- }"
	done
	printf '\n\n/proc/diskstats: rd_ios       rd_merges    rd_sectors   rd_ticks     wr_ios       wr_merges    wr_sectors   wr_ticks     in_flight    io_ticks     time_in_queue\n'
}

# Print the kernel's statistics of a disk, in the columns of the view.
statistics_of()
{
	awk -v path="$1" -v number="$(disk_number "$1")" '$1 ":" $2 == number {
		printf "%15s: %-13d%-13d%-13d%-13d%-13d%-13d%-13d%-13d0            %-13d0            \n",
			path, $4, $5, $6, $7, $8, $9, $10, $11, $13 }' /proc/diskstats
}

without_addresses()
{
	sed 's/,[0-9a-f]\{16\})/,ADDRESS)/g'
}

test_there_are_three_files_with_their_modes()
{
	is "modes and names" "$(cd $kioind && stat -c '%a %n' -- * | sort -k 2)" "664 show1_diskstats
664 show2_uid_io
664 show3_bio_time"
	for file in show2_uid_io show3_bio_time; do
		is "a write to $file" "$(zemtest store --only $kioind/$file 1)" "1: EIO -"
	done
}

test_statistics_are_those_of_the_kernel()
{
	fresh_io
	dd if=$data of=/dev/null bs=64k count=16 iflag=direct 2>/dev/null
	dd if=/dev/zero of=/dev/block/sda bs=32k count=5 oflag=direct 2>/dev/null
	without_addresses <$kioind/show1_diskstats >/tmp/shown
	{
		sizes_and_devices
		for disk in $disks; do
			statistics_of "$disk"
		done
	} >/tmp/wanted
	text_files_are "view"
	holds "reads" "$(awk -v path="$data:" '$1 == path { print $2 }' /tmp/shown)" -ge 16
	addresses=$(grep -o ',[0-9a-f]\{16\})' $kioind/show1_diskstats | sort -u)
	is "devices with an address of their own" "$(echo "$addresses" | grep -vc ',0\{16\})')" 4
}

# This also applies to the record: the part of an interval that a view reads is in no later one.
test_a_second_look_shows_totals_and_an_empty_interval()
{
	fresh_io
	bio $data 0 100 2040000 0x2000
	bio $data 1 100 3040000 0
	bio $data 0 60 2040000 0
	bios_are "first" 1 2 2 0 1
	cat $kioind/show3_bio_time >/tmp/shown
	is "totals" "$(sed -n '2,3p' /tmp/shown)" "fg bio_count: 1; bg bio_count: 2
read bio count: 2; write sync bio count: 0; write async bio count: 1"
	is "sums of the interval" "$(grep -c 'total_time_r:0 total_time_w:0$' /tmp/shown)" 8
	contains "sizes of the interval" "$(cat /tmp/shown)" "continue read size: 4k:0 8k: 0, 32k: 0, >32k: 0
read io size: 160; write sync io size: 0; write async io size: 100"
}

# without_disk PATH: load zem and make it look up its devices, of which this one does not exist.
without_disk()
{
	missing=$1 missing_disk=$(readlink "$1")
	rm "$missing"
	unload_zem
	insmod $zem_module
	echo x >$kioind/show1_diskstats
	# This ends the module's last line.
	echo "the test goes on" >/dev/kmsg
	set_file sched_interval 0
	set_file svp_interval 0
	mark_log
}

disk_is_back()
{
	ln -s "$missing_disk" "$missing"
}

test_a_missing_path_is_logged_twice_at_each_attempt()
{
	without_disk /dev/block/sde
	for text in anything "" "two words"; do
		zemtest store --only $kioind/show1_diskstats "$text"
	done >/tmp/outcomes
	set_file trigger 4
	echo "the test goes on" >/dev/kmsg
	is "writes" "$(cat /tmp/outcomes)" "anything: 8 -
: 0 -
two words: 9 -"
	once="6 kioind_save_dev 
3 Block device /dev/block/sde not found
3 zem Block device /dev/block/sde not found"
	log_is "messages" "$once
$once
$once"
	contains "its place" "$(cat $kioind/show1_diskstats)" "|/dev/block/sde(0,0,0000000000000000)|/dev/block/by-name/super($(disk_number /dev/block/by-name/super | tr : ,),"
	contains "its statistics" "$(cat $kioind/show1_diskstats)" "
 /dev/block/sde: 0            0            0            0            0            0            0            0            0            0            0            
"
	disk_is_back
}

test_a_disk_that_appears_is_found_by_a_write_and_then_looked_for_no_more()
{
	without_disk /dev/block/by-name/super
	disk_is_back
	find_disks
	log_is "looked for" "6 kioind_save_dev "
	before=$(without_addresses <$kioind/show1_diskstats)
	contains "found" "$before" "|$missing($(disk_number $missing | tr : ,),ADDRESS)|"
	rm $missing
	find_disks
	log_is "all had been found" ""
	disk_is_back
	is "nothing has changed" "$(without_addresses <$kioind/show1_diskstats)" "$before"
}

# The path may lead to something other than a disk: that is logged, and the path is looked up again.
test_a_path_to_something_else_is_no_disk()
{
	without_disk /dev/block/sde
	: >/dev/block/sde
	find_disks
	log_is "a file" "6 kioind_save_dev 
3 Block device /dev/block/sde not found
3 zem Block device /dev/block/sde not found"
	rm /dev/block/sde
	disk_is_back
	find_disks
	log_is "a disk" "6 kioind_save_dev "
}

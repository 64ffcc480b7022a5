# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
#
# zemctl's commands for block IO and users, and for the other families, with the real module.

# shellcheck source=tests/vm/guest/zemctl_says.sh
. "$here/zemctl_says.sh"

data=/dev/block/by-name/userdata

test_io_shows_devices_latencies_and_users()
{
	needs_zemctl || return
	fresh_io
	bio $data 0 200 2040000 0x2000
	bio $data 0x801 200 20040000 0
	bio /dev/block/sda 1 75 300001000 0
	raise_as 10050 vh_blk_bio_submit $data times=3
	cat $kioind/show2_uid_io >/dev/null
	zemctl io >/tmp/io || fail "zemctl io fails"
	for disk in $disks; do
		contains "$disk" "$(cat /tmp/io)" "$disk ($(disk_number "$disk"))
  read              "
	done
	is "classes" "$(grep 'since upload, by time' /tmp/io)" "foreground reads since upload, by time per 4 KiB: 1
background reads since upload, by time per 4 KiB: 0
foreground writes since upload, by time per 4 KiB: 0
background writes since upload, by time per 4 KiB: 2"
	is "buckets" "$(sed 's/ *#*$//; s/[^ -~]//g; s/ *$//' /tmp/io | sed -n '/^foreground reads/,/^$/p' | sed 1d)" "     <1 ms         0    0.0 %
    <16 ms         1  100.0 %
    <67 ms         0    0.0 %
   <134 ms         0    0.0 %
   <268 ms         0    0.0 %
   <536 ms         0    0.0 %
  >=536 ms         0    0.0 %"
	is "totals" "$(grep -A 2 '^bios since upload' /tmp/io)" "bios since upload reads 1 of 200 pages, sync writes 1 of 200 pages, async writes 1 of 75 pages; foreground 1, background 2
last interval     reads of 1 page 0, of 2 0, of 3 to 8 0, of more 1
                  times per 4 KiB: foreground reads 2.0 ms, background reads 0.0 ms, foreground writes 0.0 ms, background writes 320.0 ms"
	contains "users" "$(cat /tmp/io)" "
   1. uid 10050: 0 bytes
      interval  frb 0, fwb 0, brb 0, bwb 0, fbc 0, bbc 0, swc 0, awc 0
      in all    frb 0, fwb 0, brb 0, bwb 0, fbc 3, bbc 0, swc 0, awc 0
"
	json=$(zemctl io --json)
	contains "json" "$json" '"path":"/dev/block/by-name/userdata","major":'
	contains "json" "$json" '"disk":{"rd_ios":'
	contains "json" "$json" '"read_fg":{"counts":[0,1,0,0,0,0,0],"total_time_us":0}'
	contains "json" "$json" '"fg_bios":1,"bg_bios":2,"read_bios":1,"write_sync_bios":1,"write_async_bios":1,'
	is "devices by themselves" "$(zemctl io --devices | grep -c 'since upload, by time')" 16
}

test_fg_and_forget_reach_the_module()
{
	needs_zemctl || return
	fresh_io
	says "fg on" 0 "" fg 10050 on
	raise_as 10050 vh_blk_bio_submit $data
	is "flags" "$(cat $platform/bio_flags)" 2000
	says "fg off" 0 "" fg 10050 off
	raise_as 10050 vh_blk_bio_submit $data
	is "flags" "$(cat $platform/bio_flags)" 0
	says "root" 0 "zemctl: the bios of UID 0 still count as background" fg 0 on
	says "no UID" 2 "zemctl: x: not a UID, which is 0 to 4294967295" fg x on
	cat $kioind/show2_uid_io >/dev/null
	show_users
	is "bios" "$(top_of 10050 14 15)" "1 1"
	says "forget" 0 "" forget 10050-10059
	says "forget one" 0 "" forget 0
	says "backwards" 2 "zemctl: 20-10: the first UID is above the last" forget 20-10
	raise_as 10050 vh_blk_bio_submit $data
	is "a user that is new again" "$(cat $platform/bio_flags)" 0
}

test_watch_and_dump_decode_the_record()
{
	needs_zemctl || return
	fresh_io
	echo 1 >$platform/long_iowait
	bio $data 0 200 2040000 0x2000
	# A delay of some ms changes nothing with this number of pages.
	bio /dev/block/sda 0x801 75 600001000 0
	zemctl record -o /tmp/capture >/tmp/summary 2>&1 &
	recorder=$!
	wait_until 20 test -s /tmp/capture || fail "record does not begin"
	set_file kioind_interval 1
	zemctl trigger 6 || fail "zemctl trigger fails"
	wait_until 20 has_kio || fail "the record does not come"
	end -INT $recorder
	echo 0 >$platform/long_iowait
	contains "line" "$(zemctl dump /tmp/capture | grep ' kio ')" " kio            0       6  3936  reads 1 of 200 pages, sync writes 1 of 75 pages, async writes 0 of 0 pages"
	json=$(zemctl dump --json /tmp/capture | grep '"channel":"kio"')
	contains "json" "$json" '"path":"/dev/block/by-name/userdata","disk":{"rd_ios":'
	contains "json" "$json" '"read_fg":{"counts":[0,1,0,0,0,0,0],"total_time_us":2000}'
	contains "json" "$json" '"write_bg":{"counts":[0,0,0,0,0,1,1],"total_time_us":600000}'
	contains "json" "$json" '"fg_bios":1,"bg_bios":2,"read_bios":1,"write_sync_bios":1,"write_async_bios":0,"read_pages":200,'
	contains "json" "$json" '"tail_hex":"030a11181f262d343b'
	is "sums" "$(zemtest kio-sums /tmp/capture | tr '\n' ' ')" \
		"records=1 odd_sized=0 contradictory=0 fg=1 bg=2 bios=2 pages=275 twice=1 read_sizes=1 uids=0 device0=2 device1=0 device2=0 device3=1 "
	rm -f /tmp/capture

	bio $data 1 2 2040000 0
	zemctl watch --records 2 >/tmp/watched 2>&1 &
	watch=$!
	set_file trigger 7
	wait_until 20 has_ended $watch || fail "watch does not end"
	end $watch
	contains "watched" "$(cat /tmp/watched)" " kio            0       7  3936  reads 0 of 0 pages, sync writes 0 of 0 pages, async writes 1 of 2 pages"
}

has_kio()
{
	zemctl dump /tmp/capture 2>/dev/null | grep -q ' kio '
}

test_load_and_health_show_their_families()
{
	needs_zemctl || return
	echo 1 >$platform/live
	zemctl load --seconds 1 --ascii >/tmp/load || fail "zemctl load fails"
	echo 0 >$platform/live
	is "CPUs" "$(grep -c '^ *cpu[0-9] ' /tmp/load)" "$(echo "$cpus" | wc -w)"
	contains "tasks" "$(cat /tmp/load)" "
     USAGE     %    COMBINED     %      PID  MARK  NAME             PACKAGE
"
	holds "tasks" "$(sed '1,/USAGE/d' /tmp/load | wc -l)" -gt 0
	zemctl health >/tmp/health 2>&1 || fail "zemctl health fails: $(cat /tmp/health)"
	for group in fg bg; do
		grep -q "^$group " /tmp/health || fail "no $group in $(cat /tmp/health)"
	done
}

test_unload_takes_the_module_out_under_live_io()
{
	needs_zemctl || return
	echo 1 >$platform/live
	: >/tmp/busy
	while [ -e /tmp/busy ]; do
		dd if=$data of=/dev/null bs=16k count=64 iflag=direct 2>/dev/null
	done &
	helpers="$helpers $!"
	says "unload" 0 "unloaded" unload
	holds "module" ! -e /sys/module/zem
	says "io without the module" 1 "zemctl: $kioind/show1_diskstats: not there: the zem module is not loaded" io
	says "unload again" 1 "zemctl: /sys/zem: not there: the zem module is not loaded" unload
	load_zem || fail "zem does not load"
	holds "views" -e $kioind/show3_bio_time
	rm /tmp/busy
	end_tasks
	echo 0 >$platform/live
	set_file sched_interval 0
}

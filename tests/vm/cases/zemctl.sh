# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
#
# zemctl with the real module.

# shellcheck source=tests/vm/guest/zemctl_says.sh
. "$here/zemctl_says.sh"

test_status_shows_the_settings()
{
	needs_zemctl || return
	set_file kioind_interval 1
	set_file sched_interval 1
	set_file svp_interval 1
	without_collector
	wanted="trace        on
collector    not running: switch trace off and on
kmem         every cycle (5 s)
kio          every cycle (5 s)
sched        every cycle (5 s)
svp          every cycle (5 s)
load         every cycle (5 s)
cgroup       off
display      10 s: every 2 cycles (10 s)
kgsl         1 (nothing reads it)
metrics      svp on, sched on, load on, load-report off, threads off, cgroup on, health on
rb size      $initial_ring bytes per CPU
device       /dev/zem_shared: ready"
	# loss.sh tests the lines after the device.
	is "status" "$(zemctl status | sed '/^device /q')" "$wanted"
	is "lines in the log, for the ring's size" "$(log | sort -u | wc -l)" "$(echo "$cpus" | wc -w)"
	json=$(zemctl status --json)
	contains "json" "$json" '"trace":true'
	contains "json" "$json" '"display":{"setting":10,"unit":"seconds","period_ms":10000}'
	contains "json" "$json" '"device":{"path":"/dev/zem_shared","ready":true,"error":null}'
}

# The machine has the control groups and schedstats, so what is off after a load is all that is wrong.
test_doctor_mends_what_is_off_after_a_load()
{
	needs_zemctl || return
	reload_zem
	set_file kioind_interval 1
	set_file sched_interval 1
	set_file svp_interval 1
	wanted="collector: not running: no family is collected. Run: zemctl set trace off && zemctl set trace on
interval: cgroup_interval is 0: cgroup is not collected. Run: zemctl set interval cgroup 1
metrics: load-report is off: its figures are empty. Run: zemctl set metrics load-report on"
	is "faults" "$(zemctl doctor | grep -v '^note')" "$wanted"
	zemctl doctor >/dev/null && fail "the status is 0 with faults"
	zemctl doctor --fix >/tmp/doctor || fail "the fixes fail: $(cat /tmp/doctor)"
	is "mended" "$(grep -c '^  mended$' /tmp/doctor)" 3
	is "cgroup_interval" "$(get_file cgroup_interval)" 1
	has_thread $collector || fail "there is no collector"
	is "faults after that" "$(zemctl doctor | grep -v '^note')" "no fault was found"
	reload_zem
	rm -f /tmp/doctor
}

test_set_reaches_the_files()
{
	needs_zemctl || return
	value=20
	for family in kmem kio sched svp load cgroup display kgsl; do
		says "interval" 0 "" set interval $family $value
		file=$family
		case $family in kmem | kio) file=${family}ind ;; esac
		is "$family" "$(get_file ${file}_interval)" $value
		value=$((value + 1))
	done
	says "ring size" 0 "" set rb-size 65536
	ring_was_resized=1
	holds "ring size" "$(get_file rb_size)" -ge 65536
	says "trace" 0 "zemctl: trace was on already; the collector starts only when trace goes from off to on" \
		set trace on
}

test_set_trace_switches_the_module()
{
	needs_zemctl || return
	without_collector
	says "off" 0 "" set trace off
	is "file" "$(get_file trace_on)" 0
	says "send" 0 "zemctl: trace is off: the module dropped the record" send test lost
	says "on" 0 "" set trace on
	is "file" "$(get_file trace_on)" 1
	log_is "the switch" "6 trace_on disable
6 trace_on enable"
}

test_send_and_trigger_make_records()
{
	needs_zemctl || return
	zem_is_stale=1
	says "trigger" 0 "" trigger -- -12
	says "send" 0 "" send charger 'two words'
	head -c 479 /dev/zero | zemctl send usb -
	is "records" "$(take 3 | sort)" "channel=1 sub_type=0 train_number=-12 len=479 reserved=0 payload=$(
		printf '00%.0s' $(seq 479))
$(kzerod_record -12 0 0 0 0 0)
channel=15 sub_type=0 train_number=-12 len=9 reserved=0 payload=$(printf 'two words' | xxd -p)"
}

test_mistakes_are_refused_with_status_2()
{
	needs_zemctl || return
	says "interval" 2 "zemctl: interval of kmem: 10001 is not within 0-10000" set interval kmem 10001
	says "ring size" 2 "zemctl: ring buffer size: 4095 is not within 4096-1048576" set rb-size 4095
	text=$(head -c 480 /dev/zero | tr '\0' a)
	says "payload" 2 "zemctl: send: the payload is longer than 479 bytes" send test "$text"
	zemctl send nowhere x >/dev/null 2>&1
	is "channel" $? 2
	is "unchanged" "$(get_file kmemind_interval)" 1
	is "nothing was recorded" "$(zemtest read $zem/test)" "0:"
}

test_without_the_module_it_says_so()
{
	needs_zemctl || return
	unload_zem
	for command in status "set trace on" "trigger 1" "send test x" "watch --seconds 1" \
		"record -o /tmp/none --seconds 1"; do
		# shellcheck disable=SC2086 # words
		says "$command" 1 "zemctl: /sys/zem: not there: the zem module is not loaded" $command
	done
	holds "no file is left" ! -e /tmp/none
	insmod $zem_module
}

test_watch_prints_what_is_there_and_what_arrives()
{
	needs_zemctl || return
	set_file trigger 6
	zemtest flush
	printf 'early' >$zem/touchscreen
	zemctl watch --json --records 2 >/tmp/watched 2>/tmp/summary &
	watch=$!
	wait_until 20 grep -q early /tmp/watched || fail "watch does not show the record: $(cat /tmp/watched)"
	produce battery 9 2 1
	wait_until 20 has_ended $watch || fail "watch does not end"
	end $watch
	contains "header" "$(sed -n 1p /tmp/watched)" '{"type":"header","schema":"zemctl.records","schema_version":1,'
	first=$(sed -n 2p /tmp/watched)
	contains "first" "$first" '"channel":"touchscreen","channel_id":19,"sub_type":0,"train_number":6,"payload_bytes":5,"payload_text":"early"'
	contains "second" "$(sed -n 3p /tmp/watched)" '"channel":"battery","channel_id":20,"sub_type":9,"train_number":6,"payload_bytes":2,'
	is "end" "$(sed -n 4p /tmp/watched)" '{"type":"end","reason":"limit","records":2}'
	is "lines" "$(wc -l </tmp/watched)" 4
	contains "summary" "$(cat /tmp/summary)" "2 records, 71 bytes, 0 lost, 0 gaps in "
}

test_record_ends_at_sigint_with_a_summary_and_dump_reads_it()
{
	needs_zemctl || return
	printf 'one' >$zem/gpu
	zemctl record -o /tmp/capture >/tmp/summary 2>&1 &
	record=$!
	wait_until 20 holds_records /tmp/capture 1 || fail "the record does not reach the file"
	echo 1 >$platform/kmem
	set_file trigger 8
	wait_until 20 holds_records /tmp/capture 3 || fail "the kmem record does not reach the file"
	kill -INT $record
	wait $record
	is "status" $? 0
	contains "summary" "$(cat /tmp/summary)" "3 records, 1003 bytes, 0 lost, 0 gaps in "
	dumped=$(zemctl dump --json /tmp/capture |
		sed -n 's/.*"channel":\("[a-z]*"\).*"train_number":\([0-9]*\),"payload_bytes":\([0-9]*\).*/\1 \2 \3/p')
	is "dump" "$dumped" '"gpu" 1 3
"kmem" 8 864
"kzerod" 8 40'
	contains "text" "$(zemctl dump /tmp/capture)" "opaque block of 864 bytes: 0104070a 0d101316 "
	rm -f /tmp/capture
}

# holds_records FILE LEAST
holds_records()
{
	[ "$(zemtest count "$1" 2>/dev/null || echo 0)" -ge "$2" ]
}

# Each record must be captured exactly once, in order, and whole. A round fits into the ring, so the reader may
# lag by one round, and the next round begins when the file has the last record: on a busy machine, sleeps between
# records would be a hundred times too long. There are 40,000 records, or 20,000 on a kernel that checks each use
# of a lock, where producers contend for the lock of the consumer's wake-up.
test_concurrent_records_from_all_cpus_are_captured()
{
	needs_zemctl || return
	count=$(echo "$cpus" | wc -w) rounds=5 records=40000
	[ ! -e /proc/lockdep ] || records=20000
	each=$((records / count / rounds))
	total=$((each * rounds * count + 1))
	resize_ring 1048576
	zemctl record -o /tmp/capture --records $total >/tmp/summary 2>&1 &
	record=$!
	# The arrival of the first record shows that the reader works.
	produce smartpa 5 16 1 cpu=0
	captured=1
	wait_until 30 holds_records /tmp/capture $captured || fail "record does not begin"

	begun=$(centiseconds_up)
	for round in $(seq $rounds); do
		for cpu in $cpus; do
			produce smartpa 5 16-470 $each cpu=$cpu &
		done
		captured=$((captured + each * count))
		wait_until 60 holds_records /tmp/capture $captured ||
			fail "round $round: $(zemtest count /tmp/capture) records captured, not $captured"
	done
	wait_until 30 has_ended $record || fail "not all records came"
	took=$(($(centiseconds_up) - begun))
	end $record
	note "$total records in $((took / 100)).$((took % 100 / 10)) s"

	found=$(zemtest verify /tmp/capture channel=13 context=0)
	contains "each exactly once" "$found" "records=$total cpus=$count missing=0 repeated=0 out_of_order=0 torn=0 elsewhere=0 left_over=0"
	each=$((each * rounds))
	contains "from each CPU as many" "$found" "lengths=16-470 per_cpu=$((each + 1)),$(printf "$each,%.0s" $(seq 2 $((count - 1))))$each"
	contains "summary" "$(cat /tmp/summary)" "$total records, "
	contains "summary" "$(cat /tmp/summary)" " 0 lost, 0 gaps in "
	log_is "nothing" ""
	rm -f /tmp/capture
}

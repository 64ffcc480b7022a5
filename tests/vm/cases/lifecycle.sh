# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
#
# Loading and unloading, also under load.

test_unloading_waits_for_one_more_record()
{
	rmmod zem &
	rmmod=$!
	wait_until 20 module_is_going || fail "rmmod does not begin"
	usleep 500000
	holds "rmmod still waits" -d /proc/$rmmod
	holds "the files are still there" -e $zem/test
	echo x >$zem/gpu
	wait_until 20 has_ended $rmmod || fail "rmmod does not end"
	wait $rmmod || fail "rmmod failed"
	holds "directory" ! -e $zem
	holds "device" ! -e /dev/zem_shared
	holds "module" ! -e /sys/module/zem
	has_thread rb_consumer && fail "the consumer still runs"
	insmod $zem_module || fail "zem does not load again"
	holds "directory" -d $zem
	holds "device" -c /dev/zem_shared
	produce test 0 4 1
	contains "record" "$(take 1)" " train_number=1 "
	log_is "the load" "$load_log"
}

test_what_was_pending_does_not_outlive_the_module()
{
	produce test 0 100 3
	reload_zem
	is "pending" "$(zemtest read $zem/trace)" "0:"
	contains "buffer" "$(zemtest map 8192)" "mapped, 0 bytes not 0:"
}

# Also if the process that mapped it has exited, or if only one page is left.
test_a_mapped_device_keeps_the_module()
{
	unused=$(cat /sys/module/zem/refcnt)
	for kind in whole second-page child; do
		zemtest hold $kind >/tmp/held &
		wait_until 20 grep -q holding /tmp/held || fail "$kind: zemtest hold does not start"
		read -r _ holder </tmp/held
		[ $kind != child ] || wait $!
		is "$kind: users" "$(cat /sys/module/zem/refcnt)" $((unused + 1))
		# Without a user of the module, the unload would begin and then wait.
		[ "$failed" ] || is "$kind: unload" "$(zemtest unload zem)" EAGAIN
		produce test 0 4 1
		is "$kind: and it still works" "$(take 1 | wc -l)" 1
		end "$holder"
		wait_until 20 has_let_go "$holder" || fail "$kind: $holder does not end"
		is "$kind: users afterwards" "$(cat /sys/module/zem/refcnt)" "$unused"
	done
	reload_zem
}

# has_let_go PID: succeed if the process has exited, even as a zombie.
has_let_go()
{
	has_ended "$1" || grep -q '^State:.Z' "/proc/$1/status" 2>/dev/null
}

module_files()
{
	find $zem /sys/kioind /sys/module/zem/counters /proc/*_metrics /proc/morva_sched_healthinfo /proc/zem_procstat -type f
}

# Each file is open before the unload, and a byte of it was read. No file keeps the module, and none works
# afterwards.
test_open_files_do_not_keep_the_module_and_end_with_it()
{
	module_files >/tmp/files
	# shellcheck disable=SC2046 # a word for each file
	zemtest keep-open $(cat /tmp/files) >/tmp/kept &
	keeper=$!
	wait_until 20 is_stopped $keeper || fail "zemtest keep-open does not stop"
	reload_zem
	kill -CONT $keeper
	wait $keeper || fail "zemtest keep-open failed"
	is "outcomes" "$(cat /tmp/kept)" "$(sed 's,^/sys.*,&: ENODEV,; s,^/proc.*,&: EIO,' /tmp/files)"
	produce test 0 4 1
	is "record" "$(take 1 | wc -l)" 1
}

test_a_producer_without_zem_fails()
{
	unload_zem
	is "produce" "$(zemtest store --only $platform/produce 'test 0 4 1')" "test 0 4 1: ENODEV -"
	echo 1 >$platform/kmem
	insmod $zem_module
	set_file kioind_interval 0
	set_file sched_interval 0
	set_file trigger 3
	contains "the provider that came first is used" "$(take 2)" "channel=3 sub_type=0 train_number=3 len=864 "
}

test_unloading_ends_a_collector_that_runs()
{
	echo 1 >$platform/kmem
	echo 1 >$platform/display
	set_file trace_on 0
	set_file trace_on 1
	unload_zem || fail "rmmod failed"
	has_thread $collector && fail "the collector still runs"
	holds "directory" ! -e $zem
	insmod $zem_module
	log_is "no more than the switch and the load" "6 trace_on disable
6 trace_on enable
$load_log"
}

# Producers on all CPUs and readers of all files find the module either working or gone.
test_rounds_of_unloading_under_producers_and_readers()
{
	# With pauses: a running job pins the module.
	for cpu in $cpus; do
		case $((cpu % 3)) in
		0) flood $cpu task 8 150000 & ;;
		1) flood $cpu softirq 8 150000 & ;;
		2) flood $cpu hardirq 8 150000 & ;;
		esac
	done
	usleep 100000
	(while [ -e /tmp/flooding ]; do cat $zem/trace >/dev/null; usleep 20000; done) 2>/dev/null &
	# rb_size would fill the log.
	module_files | grep -v rb_size >/tmp/files
	# shellcheck disable=SC2046 # a word for each file
	(while [ -e /tmp/flooding ]; do cat $(cat /tmp/files) >/dev/null; usleep 50000; done) 2>/dev/null &
	reload_under_load 2 5
	stop_floods
	wait
	zemtest flush
	for cpu in $cpus; do
		produce fs 1 20 1 cpu=$cpu
	done
	is "all CPUs still produce" "$(take "$(echo "$cpus" | wc -w)" | grep -c context=task)" \
		"$(echo "$cpus" | wc -w)"
}

# The probe stays on its hook until zem is unloaded. Events find the ring buffer, or none.
test_rounds_of_unloading_under_usb_events()
{
	: >/tmp/flooding
	for cpu in 1 2 3; do
		while [ -e /tmp/flooding ]; do
			echo "cpu=$cpu vh_usb_zem_set 0 1 2 m p low-speed times=300" >$platform/raise
			usleep 20000
		done 2>/dev/null &
	done
	(while [ -e /tmp/flooding ]; do cat $zem/usb >/dev/null; usleep 20000; done) 2>/dev/null &
	reload_under_load 2 4
	rm -f /tmp/flooding
	wait
	zemtest flush
	produce test 0 4 1
	is "record" "$(take 1 | wc -l)" 1
	mark_log
}

# reload_under_load FEW MANY: as rounds.
reload_under_load()
{
	for round in $(rounds "$1" "$2"); do
		# A record wakes the consumer that is to stop. While zem starts, it has no ring yet.
		(while :; do echo x >$zem/test; usleep 20000; done) 2>/dev/null &
		signals=$!
		wait_until 30 unloaded || fail "round $round: zem does not unload"
		end $signals
		[ ! -e $zem ] || break
		insmod $zem_module || fail "round $round: zem does not load"
		usleep 100000
	done
}

unloaded()
{
	[ "$(zemtest unload zem)" = unloaded ]
}

# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
# guest with --kernel: --append kmemleak=on
#
# Repeated loads, and start-up with failing allocations. Kernels with leak detection and fault injection (make
# test-debug) run all tests, others a part. Leak detection is too slow for the other cases.

kmemleak=/sys/kernel/debug/kmemleak
failslab=/sys/kernel/debug/failslab

test_load_after_load()
{
	for round in $(rounds 4 100); do
		reload_zem
		produce test 0 20 1
		is "round $round" "$(take 1 | wc -l)" 1
		be_used
		[ ! "$failed" ] || break
	done
	mark_log
}

# Use everything that an unload must clean up: an important task, a user with IO, groups, records.
be_used()
{
	echo 1 >$platform/live
	set_file cgroup_interval 1
	start_svp_task
	open_disks_to_users /dev/block/sda
	zemtest as 1000 dd if=/dev/block/sda of=/dev/null bs=4k count=4 iflag=direct 2>/dev/null
	raise "vh_sched_info_depart $task 5000000"
	set_file trigger $round
	wait_until 10 records_of_the_families_came || fail "round $round: $(zemtest peek | cut -d " " -f 1,2)"
	zemtest flush
	cat $load_views/load_metrics $health_views/* $kioind/* >/dev/null
	echo 0 >$platform/live
	end_tasks
}

# sched, kio, kzerod, svp and cgroup. The records of processes and CPUs would not fit the buffer.
records_of_the_families_came()
{
	[ "$(zemtest peek | grep -oE '^channel=(4|5|12|14|18) ' | sort -u | wc -l)" -eq 5 ]
}

# Check for unreferenced memory after the tests above.
test_no_memory_is_lost()
{
	[ -e $kmemleak ] || {
		skip "the kernel does not look for lost memory"
		return
	}
	reload_zem
	# New objects, and objects in use by running code, are not counted.
	for scan in 1 2; do
		echo scan >$kmemleak || fail "nothing is scanned"
		sleep 6
	done
	is "lost" "$(cat $kmemleak)" ""
}

# Check the last message of a failed start-up. There is none if the start-up did not begin, and a success message
# if the consumer could not be created.
is_a_failure()
{
	case $1 in
	'' | "2 zem_init:"*) ;;
	"3 failed to alloc ringbuffer" | "3 failed to alloc zem_buffer_sum") ;;
	"3 failed to create zem share device") ;;
	"6 proc_cgroup_metrics_init Success!") ;;
	*) return 1 ;;
	esac
}

# address_of SYMBOL N: print its address (1), or that of the next symbol (2).
address_of()
{
	sort /proc/kallsyms | grep -A 1 " $1\$" | sed -n "$2s/ .*//p" | sed 's/^/0x/'
}

test_each_allocation_of_a_start_up_fails_in_turn()
{
	[ -e $failslab/require-start ] || {
		skip "the kernel can not make allocations fail"
		return
	}
	# Include allocations that may sleep, without a stack for each. Only those of zem's start count, not
	# those of the module loader.
	echo N >$failslab/ignore-gfp-wait
	echo 0 >$failslab/verbose
	address_of do_one_initcall 1 >$failslab/require-start
	address_of do_one_initcall 2 >$failslab/require-end
	# The kernel warns if a ring lacks the buffer of a CPU.
	provokes_a_warning_in trace_rb_cpu_prepare
	unload_zem
	nth=0 refused=0 loaded=0
	while :; do
		nth=$((nth + 1))
		mark_log
		outcome=$(zemtest load-failing $zem_module $nth)
		case $outcome in
		"loaded, nothing failed") break ;;
		loaded)
			loaded=$((loaded + 1))
			unload_zem || fail "allocation $nth: zem does not unload"
			;;
		ENOMEM)
			refused=$((refused + 1))
			is_a_failure "$(log | tail -n 1)" || fail "allocation $nth: $(log)"
			;;
		*)
			fail "allocation $nth: $outcome: $(log)"
			break
			;;
		esac
		holds "allocation $nth: no /sys/zem" ! -e $zem
		holds "allocation $nth: no /sys/kioind" ! -e /sys/kioind
		[ ! "$failed" ] || break
	done
	note "$nth allocations: $refused refused the module, $loaded did without"
	[ $refused -gt 50 ] || fail "not that few of them"
	find_disks
	produce test 0 20 1
	is "loaded at last" "$(take 1 | wc -l)" 1
	mark_log
}

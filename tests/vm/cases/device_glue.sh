# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
# guest: --smp 8
#
# zem with the skeleton of a device's glue instead of zem_platform.ko. The last test leaves zem in use until the
# guest ends. The option is the usual one: cases with an option do not run in the guest of those without.

# shellcheck source=tests/vm/guest/zemctl_says.sh
. "$here/zemctl_says.sh"

platform_module=/run/vm/modules/zem_platform.ko
zem_of_glue=$here/zem_with_glue.ko

use_glue()
{
	unload_zem || fail "zem does not unload"
	rmmod zem_platform || fail "zem_platform does not unload"
	insmod "$here/zem_glue.ko" || fail "the glue does not load"
}

use_platform()
{
	rmmod zem_glue || fail "the glue does not unload"
	insmod $platform_module || fail "zem_platform does not load"
	load_zem || fail "zem does not load"
}

# Switch tasks and interrupt them, on all CPUs: probes in freed code would be called.
raise_all_hooks()
{
	for cpu in $cpus; do
		taskset "$(printf %x $((1 << cpu)))" dd if=/dev/zero of=/dev/null bs=4k count=20000 2>/dev/null &
	done
	wait
	sync
}

test_a_load_that_fails_leaves_nothing_behind()
{
	use_glue
	for round in 1 2 3; do
		is "round $round" "$(zemtest load-without-threads "$zem_of_glue")" ENOMEM
		holds "round $round: no module" ! -e /sys/module/zem
		holds "round $round: no /sys/zem" ! -e $zem
		for path in $sched_views $svp_views $load_views $health_views /proc/cgroup_metrics; do
			holds "round $round: no $path" ! -e "$path"
		done
		raise_all_hooks
	done
	is "users of the glue" "$(cat /sys/module/zem_glue/refcnt)" 0
	use_platform
	produce test 0 20 1
	is "with zem_platform again" "$(take 1 | wc -l)" 1
	# Meanwhile the kernel may want a thread too.
	is "errors in the log" "$(log | grep '^[0-3] ' | grep -v ' workqueue: Failed to create a worker thread: -EAGAIN$')" ""
	log_is_checked=1
}

# count CHANNEL: print its number of records in the capture.
count()
{
	zemctl dump --summary /tmp/capture 2>/dev/null | awk -v channel="$1" '$1 == channel { print $2 }'
}

has_all_channels()
{
	for channel in sched svp load cpu touchscreen; do
		[ "$(count $channel)" ] || return 1
	done
}

test_zem_collects_with_the_glue_and_stays()
{
	needs_zemctl || return
	use_glue
	insmod "$zem_of_glue" || fail "zem does not load"
	holds "zem uses the glue" -e /sys/module/zem_glue/holders/zem
	rmmod zem 2>/dev/null && fail "rmmod does not refuse"
	holds "zem stays" -e $zem/trigger

	resize_ring 262144
	zemctl doctor --fix >/tmp/doctor || fail "doctor does not mend: $(cat /tmp/doctor)"
	zemctl record -o /tmp/capture >/tmp/summary 2>&1 &
	record=$!
	# The glue takes a task that starts with a high priority for an important one.
	sh -c 'renice -n -15 -p $$; exec /bin/busybox dd if=/dev/zero of=/dev/null bs=64k' 2>/dev/null &
	important=$!
	insmod "$here/zem_example_producer.ko" interval_ms=50 || fail "the producer does not load"
	wait_until 60 has_all_channels ||
		fail "records are missing: $(cat /tmp/summary; zemctl dump --summary /tmp/capture)"
	rmmod zem_example_producer || fail "the producer does not unload"
	end $important
	kill -INT $record
	wait $record
	is "status" $? 0
	zemctl dump --channel touchscreen --json /tmp/capture >/tmp/dumped
	contains "the producer's records" "$(cat /tmp/dumped)" '"channel":"touchscreen","channel_id":19,"sub_type":1,'
	zemctl dump --channel svp --pid $important --json /tmp/capture >/tmp/dumped
	contains "the important task" "$(grep '"type":"record"' /tmp/dumped)" '"comm":"busybox"'
	interrupts=$(zemctl dump --channel sched /tmp/capture | sed -n 's/.* irq \([0-9]*\) in .*/\1/p' | sort -n | tail -n 1)
	runs=$(zemctl dump --channel sched /tmp/capture | sed -n 's/.* svp ran \([0-9]*\) in .*/\1/p' | sort -n | tail -n 1)
	holds "interrupts" "$interrupts" -gt 0
	holds "runs of important tasks" "$runs" -gt 0
	rm -f /tmp/capture /tmp/dumped
}

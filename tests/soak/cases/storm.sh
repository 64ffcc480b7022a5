# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
# guest with --kernel: --append irqchip.gicv3_pseudo_nmi=1
#
# A storm of everything: tasks in top-app fork, exec, switch and exit with live hooks, the collector and a
# trigger every second collect, the scheduler families' files are read, producers run in all contexts (in NMIs
# too, if the kernel has them), and zemctl records.

test_a_storm_leaves_no_memory_behind()
{
	with_nmis=
	has_nmis && with_nmis=1
	skipped=
	note "producers in NMIs: ${with_nmis:-0}"
	echo 1 >$platform/live
	echo 1 >$platform/kmem
	echo 1 >$platform/display
	set_file sched_interval 1
	set_file svp_interval 1
	resize_ring 262144
	set_file trace_on 0
	set_file trace_on 1
	storms_leave_no_memory_behind
}

start_parts()
{
	start_lives top-app "$1" 4
	trigger_every_second &
	parts="$parts $!"
	read_all_proc_files &
	parts="$parts $!"
	switch_families &
	parts="$parts $!"
	flood 1 task 20 300000 &
	parts="$parts $!"
	flood 2 softirq 20 300000 &
	parts="$parts $!"
	flood 3 hardirq 20 300000 &
	parts="$parts $!"
	flood 4 run-queue 20 300000 &
	parts="$parts $!"
	[ ! "$with_nmis" ] || flood 5 nmi 20 100000 &
	parts="$parts $!"
}

read_all_proc_files()
{
	while storming; do
		cat $sched_views/* $svp_views/* >/dev/null
		usleep 200000
	done
}

switch_families()
{
	while storming; do
		for switch in $sched_views/sched_metrics_enabled $svp_views/svp_metrics_enabled; do
			sleep 3
			echo 0 >$switch
			usleep 200000
			echo 1 >$switch
		done
	done
}

# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
# guest: --smp 1
#
# A machine with one CPU. Here the kernel's accounting can be switched off and on: the emulator may let a CPU run
# code that another CPU has just patched in its old form, and that CPU would then not account until the next switch.

# shellcheck source=tests/vm/guest/live_tasks.sh
. "$here/live_tasks.sh"

test_records_of_all_contexts_arrive_in_order()
{
	contexts_arrive_in_order 0
}

# Without the kernel's accounting, a wait may seem shorter than the disk's time.
test_d_state_is_measured_without_the_kernel_s_accounting()
{
	start_slow_reader
	before=$(blocked_us $task)
	holds "the kernel's in us" "$before" -ge 0
	echo 0 >$schedstats
	run_until_stopped 60 $task
	# The kernel shows its sum only while it accounts.
	echo 1 >$schedstats
	is "the kernel's in us" "$(blocked_us $task)" "$before"
	cat $svp_views/svp_metrics >/tmp/text
	holds "ns" "$(value d_state_duration_total $task)" -ge 800000000
}

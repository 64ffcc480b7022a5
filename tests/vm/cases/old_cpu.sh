# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
# guest: --smp 2 --cpu cortex-a72
#
# CPUs of Armv8.0 have no single atomic instructions, so the kernel leaves the modules' branches to loops of exclusive
# loads and stores. Any other instruction would be undefined.

test_atomic_functions_work_without_the_instructions()
{
	seam_checks_pass
}

test_records_of_all_contexts_arrive()
{
	contexts_arrive_in_order 1
}

test_bios_are_counted()
{
	fresh_io
	for operation in 0 1 0x801; do
		bio /dev/block/by-name/userdata $operation 200 5030000 0x2000
	done
	bios_are "view" 3 0 1 1 1
}

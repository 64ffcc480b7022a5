# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
#
# Kernels with sanitizers check the modules' C++: deliberate mistakes of a test module must be reported with the
# C++ function that made them. By default KASAN reports only once in each boot.
# guest with --kernel: --append kasan_multi_shot

kernel_checks_memory()
{
	grep -q __asan_ $zem_module
}

kernel_checks_races()
{
	[ -e /sys/kernel/debug/kcsan ]
}

# is_reported MISTAKE TITLE: check that a report follows the load of the module with the mistake. A race must be
# caught while it happens, and the kernel checks one of thousands of accesses.
is_reported()
{
	insmod /share/zem_mistakes.ko mistake="$1" || fail "zem_mistakes does not load"
	awaits_match 120 "BUG: $2.* \[zem_mistakes\]"
	rmmod zem_mistakes
}

test_read_past_the_end_of_an_allocation_is_reported()
{
	kernel_checks_memory || {
		skip "the kernel has no KASAN"
		return
	}
	provokes_a_report_in reads_past_the_end
	is_reported read_past_the_end "KASAN: slab-out-of-bounds in .*reads_past_the_end.*+0x.*"
}

test_copy_past_the_end_of_an_allocation_is_reported()
{
	kernel_checks_memory || {
		skip "the kernel has no KASAN"
		return
	}
	provokes_a_report_in copies_past_the_end
	is_reported copy_past_the_end "KASAN: slab-out-of-bounds in .*copies_past_the_end.*+0x.*"
}

test_read_of_freed_memory_is_reported()
{
	kernel_checks_memory || {
		skip "the kernel has no KASAN"
		return
	}
	provokes_a_report_in reads_freed_memory
	is_reported read_freed_memory "KASAN: slab-use-after-free in .*reads_freed_memory.*+0x.*"
}

test_race_on_a_word_is_reported()
{
	kernel_checks_races || {
		skip "the kernel has no KCSAN"
		return
	}
	provokes_a_report_in races_on_a_word
	is_reported race_on_a_word "KCSAN: data-race in .*races_on_a_word"
}

test_race_on_a_block_is_reported()
{
	kernel_checks_races || {
		skip "the kernel has no KCSAN"
		return
	}
	provokes_a_report_in races_on_a_block
	is_reported race_on_a_block "KCSAN: data-race in .*races_on_a_block"
}

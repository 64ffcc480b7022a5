# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
#
# The C++ view of the kernel: a test module checks static keys and per-CPU variables during its load, which fails
# with a check.

test_static_keys_are_patched_and_each_cpu_has_its_instance()
{
	insmod /share/zem_seam_test.ko || fail "zem_seam_test does not load"
	holds "module" -d /sys/module/zem_seam_test
	rmmod zem_seam_test
}

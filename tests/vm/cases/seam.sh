# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
#
# The C++ view of the kernel: a test module checks static keys, per-CPU variables and atomic functions.

test_static_keys_are_patched_and_each_cpu_has_its_instance()
{
	seam_checks_pass
}

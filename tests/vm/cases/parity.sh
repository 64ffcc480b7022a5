# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
#
# The kernel follows the rules of the simulated kernel: a test module runs the same cases during its load, which
# fails with a case.

test_the_kernel_follows_the_rules_of_the_simulated_one()
{
	mark_log
	insmod /share/zem_parity_test.ko || fail "zem_parity_test does not load: $(log)"
	is "what failed" "$(log | grep -c 'zem_parity_test: [a-z_]*:')" 0
	is "the summary" "$(log | sed -n 's/.*zem_parity_test: [1-9][0-9]* cases, /cases, /p')" "cases, 0 failures"
	rmmod zem_parity_test
}

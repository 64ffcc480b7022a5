// SPDX-License-Identifier: GPL-2.0
/*
 * Runs the cases at load, on CPU 0, where the loading process stays. Loading fails with -EINVAL if
 * an expectation fails.
 */
#include <linux/cpumask.h>
#include <linux/init.h>
#include <linux/module.h>
#include <linux/sched.h>

#include "parity_test.h"

/* In the loading process, because a kernel thread has no root directory on some kernels. */
static int __init parity_test_init(void)
{
	int error = set_cpus_allowed_ptr(current, cpumask_of(0));

	if (error)
		return error;
	return parity_run() ? -EINVAL : 0;
}
module_init(parity_test_init);

static void __exit parity_test_exit(void)
{
}
module_exit(parity_test_exit);

MODULE_DESCRIPTION("The rules of the simulated kernel on a real one");
MODULE_LICENSE("GPL");

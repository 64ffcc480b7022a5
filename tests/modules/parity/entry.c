// SPDX-License-Identifier: GPL-2.0
/* Runs the cases at load, on CPU 0. Loading fails with -EINVAL if an expectation fails. */
#include <linux/init.h>
#include <linux/module.h>
#include <linux/workqueue.h>

#include "parity_test.h"

static long run(void *unused)
{
	return parity_run() ? -EINVAL : 0;
}

static int __init parity_test_init(void)
{
	return work_on_cpu(0, run, NULL);
}
module_init(parity_test_init);

static void __exit parity_test_exit(void)
{
}
module_exit(parity_test_exit);

MODULE_DESCRIPTION("The rules of the simulated kernel on a real one");
MODULE_LICENSE("GPL");

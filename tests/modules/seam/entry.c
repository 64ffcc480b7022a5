// SPDX-License-Identifier: GPL-2.0
/* Runs the checks at load. Loading fails with -EINVAL if a check fails. */
#include <linux/init.h>
#include <linux/module.h>

#include "seam_test.h"

static int __init seam_test_init(void)
{
	return seam_checks() ? -EINVAL : 0;
}
module_init(seam_test_init);

static void __exit seam_test_exit(void)
{
}
module_exit(seam_test_exit);

MODULE_DESCRIPTION("Checks of the C++ view of the kernel");
MODULE_LICENSE("GPL");

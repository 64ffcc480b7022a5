// SPDX-License-Identifier: GPL-2.0
/* The macro of <linux/bug.h>. */
#include <linux/bug.h>

#include "../api/bug.h"

void helper_bug(void)
{
	BUG();
}

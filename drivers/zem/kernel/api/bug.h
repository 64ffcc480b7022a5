/* SPDX-License-Identifier: GPL-2.0 */
/* What must not be: <linux/bug.h>. */
#ifndef _ZEM_KERNEL_API_BUG_H
#define _ZEM_KERNEL_API_BUG_H

#include "types.h"

ZEM_API_BEGIN

/* Ends the machine, or the task that came here, as the kernel is configured. Any context. */
void helper_bug(void) __attribute__((noreturn));

ZEM_API_END

#endif /* _ZEM_KERNEL_API_BUG_H */

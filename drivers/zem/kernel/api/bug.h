/* SPDX-License-Identifier: GPL-2.0 */
/* Fatal errors: <linux/bug.h>. */
#ifndef _ZEM_KERNEL_API_BUG_H
#define _ZEM_KERNEL_API_BUG_H

#include "types.h"

ZEM_API_BEGIN

/* Panics, or kills the current task, depending on the kernel's configuration. Context: any. */
void helper_bug(void) __attribute__((noreturn));

ZEM_API_END

#endif /* _ZEM_KERNEL_API_BUG_H */

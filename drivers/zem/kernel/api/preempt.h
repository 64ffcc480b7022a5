/* SPDX-License-Identifier: GPL-2.0 */
/* Preemption: <linux/preempt.h>. Calls nest. Context: any. */
#ifndef _ZEM_KERNEL_API_PREEMPT_H
#define _ZEM_KERNEL_API_PREEMPT_H

#include "types.h"

ZEM_API_BEGIN

void helper_preempt_disable(void);
void helper_preempt_enable(void);

ZEM_API_END

#endif /* _ZEM_KERNEL_API_PREEMPT_H */

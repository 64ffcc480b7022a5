/* SPDX-License-Identifier: GPL-2.0 */
/* Read-copy-update: <linux/rcupdate.h>. Context: any; a read section must not sleep. */
#ifndef _ZEM_KERNEL_API_RCU_H
#define _ZEM_KERNEL_API_RCU_H

#include "types.h"

ZEM_API_BEGIN

void helper_rcu_read_lock(void);
void helper_rcu_read_unlock(void);
/* Waits until all present read sections have ended. Context: may sleep, outside of one. */
void synchronize_rcu(void);

ZEM_API_END

#endif /* _ZEM_KERNEL_API_RCU_H */

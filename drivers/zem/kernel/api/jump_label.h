/* SPDX-License-Identifier: GPL-2.0 */
/* Static keys: <linux/jump_label.h>. May sleep. */
#ifndef _ZEM_KERNEL_API_JUMP_LABEL_H
#define _ZEM_KERNEL_API_JUMP_LABEL_H

#include "types.h"

ZEM_API_BEGIN

struct static_key;

void static_key_enable(struct static_key *key);
void static_key_disable(struct static_key *key);
int static_key_count(struct static_key *key);

ZEM_API_END

#endif /* _ZEM_KERNEL_API_JUMP_LABEL_H */

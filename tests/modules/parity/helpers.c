// SPDX-License-Identifier: GPL-2.0
/* Compiles the helpers that the cases call, because zem.ko does not export its own. */
#include "../../../drivers/zem/kernel/helpers/completion.c"
#include "../../../drivers/zem/kernel/helpers/proc_fs.c"
#include "../../../drivers/zem/kernel/helpers/ring_buffer.c"
#include "../../../drivers/zem/kernel/helpers/slab.c"

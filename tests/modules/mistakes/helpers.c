// SPDX-License-Identifier: GPL-2.0
/* Compiles the helpers that the mistakes call, because zem.ko does not export its own. */
#include "../../../drivers/zem/kernel/helpers/slab.c"

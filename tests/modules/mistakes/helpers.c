// SPDX-License-Identifier: GPL-2.0
/* The helpers that the mistakes call: zem.ko keeps its own to itself. */
#include "../../../drivers/zem/kernel/helpers/slab.c"

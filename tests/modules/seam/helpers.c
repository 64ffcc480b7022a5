// SPDX-License-Identifier: GPL-2.0
/* The helpers that the checks call: zem.ko keeps its own to itself. */
#include "../../../drivers/zem/kernel/helpers/cpumask.c"
#include "../../../drivers/zem/kernel/helpers/percpu.c"

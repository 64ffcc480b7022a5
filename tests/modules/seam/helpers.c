// SPDX-License-Identifier: GPL-2.0
/* Compiles the helpers that the checks call, because zem.ko does not export its own. */
#include "../../../drivers/zem/kernel/helpers/cpumask.c"
#include "../../../drivers/zem/kernel/helpers/percpu.c"

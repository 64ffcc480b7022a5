// SPDX-License-Identifier: GPL-2.0
/*
 * The platform keeps the one function that it feeds to itself, so that it is looked for by its name
 * as the compiler writes it.
 */
#include <linux/kprobes.h>

#include "load.h"

load_handler find_load_handler(void)
{
	struct kprobe probe = {
		.symbol_name = "_ZN3zem12_GLOBAL__N_122load_stat_proc_runtimeEP11task_structjy",
	};
	load_handler found;

	if (register_kprobe(&probe))
		return NULL;
	found = (load_handler)probe.addr;
	unregister_kprobe(&probe);
	return found;
}

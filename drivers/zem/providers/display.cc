// SPDX-License-Identifier: GPL-2.0
#include "providers/display.h"

#include "kernel/atomic.h"
#include "linux/zem.h"

/* A display module sets this without a lock. Each use reads the pointer once. */
void (*display_error_zem_update)(int interval) = nullptr;

namespace zem {

void display_upload()
{
	if (auto *update = read_once(display_error_zem_update))
		update(get_display_interval());
}

} /* namespace zem */

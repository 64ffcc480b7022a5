/* SPDX-License-Identifier: GPL-2.0 */
/*
 * A proc file over a static key: reads as 1 or 0, and takes a '1' or a '0' as its first byte; what
 * follows is ignored. Anything else, nothing at all included, is refused with EFAULT. May sleep.
 */
#pragma once

#include "api/proc_fs.h"
#include "static_key.h"

namespace zem {

namespace switch_file {

/* Before the first file is there. */
void init();

int show(seq_file *file, void *);
ssize_t write(const char *user_text, size_t count, void *key);

} /* namespace switch_file */

template <bool on_at_load>
[[nodiscard]] constexpr proc_file switch_over(StaticKey<on_at_load> &key)
{
	return {.show = switch_file::show, .write = switch_file::write, .data = key.key()};
}

} /* namespace zem */

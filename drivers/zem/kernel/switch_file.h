/* SPDX-License-Identifier: GPL-2.0 */
/*
 * A proc file for a static key. It reads as 1 or 0. A write uses only the first byte, '1' or '0';
 * anything else, including an empty write, fails with EFAULT. Context: may sleep.
 */
#pragma once

#include "api/proc_fs.h"
#include "static_key.h"

namespace zem {

namespace switch_file {

/* Call before the first file is created. */
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

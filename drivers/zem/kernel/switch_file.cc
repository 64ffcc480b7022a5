// SPDX-License-Identifier: GPL-2.0
/* The two functions behind every switch file. */
#include "kernel/switch_file.h"

#include "kernel/errno.h"

namespace zem::switch_file {

int show(seq_file *file, void *)
{
	auto *key = static_cast<static_key *>(helper_seq_private(file));
	seq_printf(file, "%d\n", static_key_count(key) >= 1);
	return 0;
}

ssize_t write(const char *user_text, size_t count, void *key)
{
	char first;
	if (!count || helper_copy_from_user(&first, user_text, sizeof(first)))
		return -EFAULT;

	if (first == '1')
		static_key_enable(static_cast<static_key *>(key));
	else if (first == '0')
		static_key_disable(static_cast<static_key *>(key));
	else
		return -EFAULT;
	return static_cast<ssize_t>(count);
}

} /* namespace zem::switch_file */

// SPDX-License-Identifier: GPL-2.0
/* The show and write functions of every switch file. */
#include "kernel/switch_file.h"

#include "kernel/errno.h"
#include "kernel/lock.h"

namespace zem::switch_file {

namespace {

/*
 * Serialises writers: static_key_disable() warns if another task is enabling the key. Under this
 * lock only the kernel's own locks for patching are taken.
 */
constinit Mutex turn_lock;

void turn(static_key *key, bool on)
{
	LockGuard guard(turn_lock);
	if (on)
		static_key_enable(key);
	else
		static_key_disable(key);
}

} /* namespace */

void init()
{
	turn_lock.init("zem_switch_file");
}

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

	if (first != '0' && first != '1')
		return -EFAULT;
	turn(static_cast<static_key *>(key), first == '1');
	return static_cast<ssize_t>(count);
}

} /* namespace zem::switch_file */

// SPDX-License-Identifier: GPL-2.0
/* /proc/zem_procstat: sets the state of UIDs, and forgets UIDs. Context: may sleep. */
#include "io/uid_control.h"

#include "io/uid_charge.h"
#include "io/uid_foreground.h"
#include "io/uid_table.h"
#include "kernel/api/parse.h"
#include "kernel/api/printk.h"
#include "kernel/api/proc_fs.h"
#include "kernel/api/string.h"
#include "kernel/errno.h"
#include "kernel/proc_directory.h"

namespace zem {

namespace {

constexpr size_t kLongestText = 127;
using Text = char[kLongestText + 1];

/* Copies and terminates @count bytes. Return: 0 or -EFAULT. */
int copy_text(Text &text, const char *user_text, size_t count)
{
	__builtin_memset(text, 0, sizeof(text));
	return helper_copy_from_user(text, user_text, count) ? -EFAULT : 0;
}

/* Return: 1 if the UID has the state already, else 0; -EINVAL if it has no entry. */
int has_state(u32 uid, u32 state)
{
	const LockedUid entry = LockedUid::make(uid);
	if (!entry.get())
		return -EINVAL;
	return entry.get()->state == state;
}

/* IO before the change is charged to the previous state. */
int change_state(u32 uid, u32 state)
{
	LockGuard guard(uid_io_lock);
	const IoStats now = io_of_uid(uid);
	const LockedUid entry = LockedUid::make(uid);
	if (!entry.get())
		return -EINVAL;
	if (entry.get()->state != state) {
		update_io_stats_uid_entry(*entry.get(), now);
		write_once(entry.get()->state, state);
	}
	return 0;
}

/* "UID STATE": 0 in the foreground, 1 in the background. */
ssize_t zem_uid_procstat_write(const char *user_text, size_t count, void *)
{
	if (count > kLongestText)
		return -EINVAL;
	Text text;
	if (const int error = copy_text(text, user_text, count))
		return error;
	unsigned int uid;
	int state = -1;
	/* Without two numbers the state keeps a value that is refused. */
	sscanf(text, "%u %d", &uid, &state);
	if (state != 0 && state != 1)
		return -EINVAL;

	const auto wanted = static_cast<u32>(state);
	note_foreground(uid, wanted);
	const int answer = has_state(uid, wanted);
	const int error = answer == 0 ? change_state(uid, wanted) : 0;
	if (answer < 0 || error)
		return -EINVAL;
	return static_cast<ssize_t>(count);
}

/* "FIRST-LAST". Only the first bytes of a longer text are used. */
ssize_t zem_uid_remove_write(const char *user_text, size_t count, void *)
{
	const size_t taken = count < kLongestText ? count : kLongestText;
	Text text;
	if (const int error = copy_text(text, user_text, taken))
		return error;
	char *dash = strchr(text, '-');
	if (!dash)
		return -EINVAL;
	*dash = '\0';
	s64 first, last;
	if (kstrtoll(text, 10, &first) || kstrtoll(dash + 1, 10, &last))
		return -EINVAL;
	UidEntry *unlinked;
	{
		LockGuard guard(uid_io_lock);
		unlinked = unlink_uids(first, last);
	}
	free_unlinked(unlinked);
	return static_cast<ssize_t>(taken);
}

constinit const proc_file set_file{
	.show = nullptr,
	.write = zem_uid_procstat_write,
	.data = nullptr,
};

constinit const proc_file remove_file{
	.show = nullptr,
	.write = zem_uid_remove_write,
	.data = nullptr,
};

constexpr ProcRow kFiles[] = {
	{.name = "set", .mode = 0222, .file = &set_file},
	{.name = "remove_uid_range", .mode = 0222, .file = &remove_file},
};

constinit ProcDirectory directory("zem_procstat", kFiles);

} /* namespace */

/* The name may belong to a directory that an earlier load left. */
int uid_control_init()
{
	if (directory.create())
		return 0;
	pr_err("%s: failed to create zem_procstat proc entry", "zem_proc_uid_sys_stats_init");
	remove_proc_subtree("zem_procstat", nullptr);
	return -ENOMEM;
}

} /* namespace zem */

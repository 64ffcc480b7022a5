// SPDX-License-Identifier: GPL-2.0
/*
 * Sizes and offsets of the kernel's types for the C++ side, made the way the kernel makes its
 * asm-offsets: compiled to assembly, of which the build turns the marked lines into
 * layout.gen.h. Never linked.
 */
#include <linux/completion.h>
#include <linux/errno.h>
#include <linux/fs.h>
#include <linux/jump_label.h>
#include <linux/kbuild.h>
#include <linux/kobject.h>
#include <linux/miscdevice.h>
#include <linux/mutex.h>
#include <linux/spinlock.h>
#include <linux/time64.h>

/* What the C++ side states as numbers of its own. */
static_assert(EINTR == 4);
static_assert(EAGAIN == 11);
static_assert(ENOMEM == 12);
static_assert(EFAULT == 14);
static_assert(EINVAL == 22);
static_assert(EMSGSIZE == 90);
static_assert(sizeof(struct timespec64) == 16);
static_assert(offsetof(struct timespec64, tv_sec) == 0);
static_assert(offsetof(struct timespec64, tv_nsec) == 8);

int main(void);

int main(void)
{
	DEFINE(KERNEL_SIZEOF_COMPLETION, sizeof(struct completion));
	DEFINE(KERNEL_SIZEOF_MUTEX, sizeof(struct mutex));
	DEFINE(KERNEL_SIZEOF_SPINLOCK, sizeof(spinlock_t));
	/* Without lockdep the key is empty, which an array can't be. */
	DEFINE(KERNEL_SIZEOF_LOCK_CLASS_KEY, sizeof(struct lock_class_key) ?: 1);
	DEFINE(KERNEL_SIZEOF_KOBJ_ATTRIBUTE, sizeof(struct kobj_attribute));
	DEFINE(KERNEL_SIZEOF_ATTRIBUTE_GROUP, sizeof(struct attribute_group));
	DEFINE(KERNEL_SIZEOF_MISCDEVICE, sizeof(struct miscdevice));
	DEFINE(KERNEL_SIZEOF_FILE_OPERATIONS, sizeof(struct file_operations));
	DEFINE(KERNEL_SIZEOF_STATIC_KEY, sizeof(struct static_key));
	OFFSET(KERNEL_STATIC_KEY_TYPE, static_key, type);
	return 0;
}

// SPDX-License-Identifier: GPL-2.0
/*
 * Sizes and offsets of the kernel's types for C++, built like the kernel's asm-offsets: this file
 * is compiled to assembly, and the build converts the marked lines to layout.gen.h. It is never
 * linked.
 */
#include <linux/blkdev.h>
#include <linux/cgroup.h>
#include <linux/completion.h>
#include <linux/cred.h>
#include <linux/errno.h>
#include <linux/fs.h>
#include <linux/irq_work.h>
#include <linux/jump_label.h>
#include <linux/kbuild.h>
#include <linux/kobject.h>
#include <linux/miscdevice.h>
#include <linux/mutex.h>
#include <linux/poison.h>
#include <linux/sched.h>
#include <linux/seq_file.h>
#include <linux/spinlock.h>

#ifdef CONFIG_ARM64
#include <asm/alternative.h>
#include <asm/cpucaps.h>
#endif

#include "helpers/compat.h"

/* Numbers that C++ headers define. */
static_assert(ENOENT == 2);
static_assert(EAGAIN == 11);
static_assert(ENOMEM == 12);
static_assert(EFAULT == 14);
static_assert(EINVAL == 22);
static_assert(EMSGSIZE == 90);

static_assert(sizeof(struct llist_node) == sizeof(void *));
static_assert(sizeof(struct llist_head) == sizeof(void *));
static_assert(sizeof(struct list_head) == 2 * sizeof(void *));
static_assert(sizeof(struct seq_operations) == 4 * sizeof(void *));
static_assert(offsetof(struct seq_operations, start) == 0);
static_assert(offsetof(struct seq_operations, stop) == 8);
static_assert(offsetof(struct seq_operations, next) == 16);
static_assert(offsetof(struct seq_operations, show) == 24);
static_assert(TASK_COMM_LEN == 16);
/* TASK_EXT_UNLISTED and the exit states, as defined for C++. */
static_assert((unsigned long)POISON_POINTER_DELTA + 0x100 == 0xdead000000000100ul);
/* The fields of a bio, as bio.h uses them. */
static_assert(sizeof_field(struct bio, bi_opf) == 4);
static_assert(sizeof_field(struct bio, bi_flags) == 2);
static_assert(sizeof_field(struct bio, BIO_STAMP) == 8);
static_assert(sizeof_field(struct block_device, bd_dev) == 4);
static_assert(REQ_OP_MASK == 0xff && REQ_OP_READ == 0 && REQ_OP_DISCARD == 3);
static_assert((__force u32)REQ_SYNC == 1u << 11);
/* The fields of the running task, of its credentials and of a transfer. */
static_assert(sizeof_field(struct task_struct, thread_info.cpu) == 4);
static_assert(sizeof_field(struct cred, uid) == 4);
static_assert(sizeof_field(struct kiocb, ki_flags) == 4);
static_assert(IOCB_DSYNC == 2);
static_assert(EXIT_DEAD == 16);
static_assert(EXIT_ZOMBIE == 32);

#ifdef CONFIG_ARM64
/*
 * The entry that alternative.h creates for the kernel's code patching. The CPU's capability is the
 * 16 bits between the other fields; before 6.4 the field has another name.
 */
static_assert(sizeof(struct alt_instr) == 12);
static_assert(offsetof(struct alt_instr, alt_offset) == 4);
static_assert(offsetofend(struct alt_instr, alt_offset) == 8);
static_assert(offsetof(struct alt_instr, orig_len) == 10);
static_assert(offsetof(struct alt_instr, alt_len) == 11);
/* The entry that static_key.h creates for each branch, with offsets relative to themselves. */
static_assert(IS_ENABLED(CONFIG_HAVE_ARCH_JUMP_LABEL_RELATIVE));
static_assert(sizeof(struct jump_entry) == 16);
static_assert(offsetof(struct jump_entry, code) == 0);
static_assert(offsetof(struct jump_entry, target) == 4);
static_assert(offsetof(struct jump_entry, key) == 8);
static_assert(JUMP_LABEL_NOP_SIZE == 4);
#endif

/* The data of opaque.h. An array cannot be empty, but a lock class key is without lockdep. */
#define STORAGE(name, type)                                       \
	do {                                                      \
		DEFINE(KERNEL_SIZEOF_##name, sizeof(type) ?: 1);  \
		DEFINE(KERNEL_ALIGNOF_##name, __alignof__(type)); \
	} while (0)

int main(void);

int main(void)
{
	STORAGE(COMPLETION, struct completion);
	STORAGE(MUTEX, struct mutex);
	STORAGE(SPINLOCK, spinlock_t);
	STORAGE(RAW_SPINLOCK, raw_spinlock_t);
	STORAGE(IRQ_WORK, struct irq_work);
	STORAGE(LOCK_CLASS_KEY, struct lock_class_key);
	STORAGE(KOBJ_ATTRIBUTE, struct kobj_attribute);
	STORAGE(ATTRIBUTE_GROUP, struct attribute_group);
	STORAGE(MISCDEVICE, struct miscdevice);
	STORAGE(FILE_OPERATIONS, struct file_operations);
	OFFSET(KERNEL_BIO_BDEV, bio, bi_bdev);
	OFFSET(KERNEL_BIO_OPF, bio, bi_opf);
	OFFSET(KERNEL_BIO_FLAGS, bio, bi_flags);
	OFFSET(KERNEL_BIO_STAMP, bio, BIO_STAMP);
	OFFSET(KERNEL_BDEV_DEV, block_device, bd_dev);
	STORAGE(STATIC_KEY, struct static_key);
	OFFSET(KERNEL_TASK_CPU, task_struct, thread_info.cpu);
	OFFSET(KERNEL_TASK_CRED, task_struct, cred);
	OFFSET(KERNEL_CRED_UID, cred, uid);
	OFFSET(KERNEL_KIOCB_FLAGS, kiocb, ki_flags);
	OFFSET(KERNEL_TASK_PID, task_struct, pid);
	OFFSET(KERNEL_TASK_EXIT_STATE, task_struct, exit_state);
	OFFSET(KERNEL_TASK_GROUP_LEADER, task_struct, group_leader);
	OFFSET(KERNEL_TASK_SUM_EXEC_RUNTIME, task_struct, se.sum_exec_runtime);
	OFFSET(KERNEL_TASK_CGROUPS, task_struct, cgroups);
	OFFSET(KERNEL_CSS_SET_CPU, css_set, subsys[cpu_cgrp_id]);
	OFFSET(KERNEL_CSS_ID, cgroup_subsys_state, id);
	OFFSET(KERNEL_STATIC_KEY_ENABLED, static_key, enabled);
	OFFSET(KERNEL_STATIC_KEY_TYPE, static_key, type);
#ifdef CONFIG_ARM64
	DEFINE(KERNEL_ARM64_HAS_VIRT_HOST_EXTN, ARM64_HAS_VIRT_HOST_EXTN);
#endif
#ifdef CONFIG_ARM64_LSE_ATOMICS
	DEFINE(KERNEL_ARM64_HAS_LSE_ATOMICS, ARM64_HAS_LSE_ATOMICS);
#endif
	return 0;
}

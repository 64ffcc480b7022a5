/* SPDX-License-Identifier: GPL-2.0 */
/* Text files below /proc: <linux/proc_fs.h>, <linux/seq_file.h>. All of it may sleep. */
#ifndef _ZEM_KERNEL_API_PROC_FS_H
#define _ZEM_KERNEL_API_PROC_FS_H

#include "types.h"

ZEM_API_BEGIN

struct proc_dir_entry;
struct seq_file;

/*
 * A file that is shown whole at each reading and may be written; with a NULL @show or @write the
 * other is all it does, and this fails with EIO. @write gets the user's bytes by
 * their address in user space and returns how many it took, or a negative error code. @data is
 * for both, by helper_seq_private() and as an argument.
 */
struct proc_file {
	int (*show)(struct seq_file *file, void *unused);
	ssize_t (*write)(const char *user_text, size_t count, void *data);
	void *data;
};

/* A NULL @parent stands for /proc itself. Return: NULL when it can't be made. */
struct proc_dir_entry *proc_mkdir(const char *name, struct proc_dir_entry *parent);

/* @file lives as long as the entry. Return: NULL when it can't be made. */
struct proc_dir_entry *helper_proc_create(const char *name, umode_t mode,
					  struct proc_dir_entry *parent,
					  const struct proc_file *file);

/* A read-only file; mode 0 stands for 0444. */
struct proc_dir_entry *proc_create_single_data(const char *name, umode_t mode,
					       struct proc_dir_entry *parent,
					       int (*show)(struct seq_file *, void *), void *data);

#ifdef __cplusplus
/* A file shown element by element; layout.c compares it with the kernel's. */
struct seq_operations {
	void *(*start)(seq_file *file, s64 *position);
	void (*stop)(seq_file *file, void *element);
	void *(*next)(seq_file *file, void *element, s64 *position);
	int (*show)(seq_file *file, void *element);
};
#endif

struct seq_operations;

/*
 * A read-only file; mode 0 stands for 0444. Each opening of it has @state_size bytes of its own,
 * zero at first, where helper_seq_private() tells.
 */
struct proc_dir_entry *proc_create_seq_private(const char *name, umode_t mode,
					       struct proc_dir_entry *parent,
					       const struct seq_operations *operations,
					       unsigned int state_size, void *data);

/* Each returns after the last reader and writer is out of the files' functions. */
void proc_remove(struct proc_dir_entry *entry);
/* The kernel warns when there is none. */
void remove_proc_entry(const char *name, struct proc_dir_entry *parent);
/* With all below it. Return: 0, or -ENOENT when there is none. */
int remove_proc_subtree(const char *name, struct proc_dir_entry *parent);

/* Return: how many elements were shown before this one since the reading began at the start. */
u64 helper_seq_index(const struct seq_file *file);

void seq_printf(struct seq_file *file, const char *fmt, ...) __attribute__((format(printf, 2, 3)));

/*
 * For a show that must not run twice: seq_file calls it again with more room when the text did not
 * fit. Return: whether @bytes fit; if not, print nothing, return 0, and be called again.
 */
bool helper_seq_has_room(struct seq_file *file, size_t bytes);

/* Return: the @data that the file was made with. */
void *helper_seq_private(const struct seq_file *file);

/* Return: bytes that could not be read. */
unsigned long helper_copy_from_user(void *to, const void *user_from, unsigned long count);

ZEM_API_END

#endif /* _ZEM_KERNEL_API_PROC_FS_H */

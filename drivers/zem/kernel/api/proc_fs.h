/* SPDX-License-Identifier: GPL-2.0 */
/* Text files below /proc: <linux/proc_fs.h>, <linux/seq_file.h>. Context: may sleep. */
#ifndef _ZEM_KERNEL_API_PROC_FS_H
#define _ZEM_KERNEL_API_PROC_FS_H

#include "types.h"

ZEM_API_BEGIN

struct proc_dir_entry;
struct seq_file;

/*
 * A file with a text that @show prints completely, and that @write may change. If one of them is
 * NULL, reading or writing fails with EIO. @write gets the user's bytes by their address in user
 * space, and returns the number of bytes used or a negative error code. @data is available to both,
 * through helper_seq_private() and as an argument.
 */
struct proc_file {
	int (*show)(struct seq_file *file, void *unused);
	ssize_t (*write)(const char *user_text, size_t count, void *data);
	void *data;
};

/* A NULL @parent stands for /proc. Return: NULL on failure. */
struct proc_dir_entry *proc_mkdir(const char *name, struct proc_dir_entry *parent);

/* @file must live as long as the entry. Return: NULL on failure. */
struct proc_dir_entry *helper_proc_create(const char *name, umode_t mode,
					  struct proc_dir_entry *parent,
					  const struct proc_file *file);

/* Creates a read-only file; mode 0 stands for 0444. */
struct proc_dir_entry *proc_create_single_data(const char *name, umode_t mode,
					       struct proc_dir_entry *parent,
					       int (*show)(struct seq_file *, void *), void *data);

#ifdef __cplusplus
/* A file that is shown element by element. layout.c compares the type with the kernel's. */
struct seq_operations {
	void *(*start)(seq_file *file, s64 *position);
	void (*stop)(seq_file *file, void *element);
	void *(*next)(seq_file *file, void *element, s64 *position);
	int (*show)(seq_file *file, void *element);
};
#endif

struct seq_operations;

/*
 * Creates a read-only file; mode 0 stands for 0444. helper_seq_private() returns @state_size bytes
 * of each open file, which are zero initially.
 */
struct proc_dir_entry *proc_create_seq_private(const char *name, umode_t mode,
					       struct proc_dir_entry *parent,
					       const struct seq_operations *operations,
					       unsigned int state_size, void *data);

/* These return when no reader or writer is left in the files' functions. */
void proc_remove(struct proc_dir_entry *entry);
/* Also removes everything below. Return: 0; -ENOENT if the entry does not exist. */
int remove_proc_subtree(const char *name, struct proc_dir_entry *parent);

/* Return: the number of elements shown before this one, since the reading began at the start. */
u64 helper_seq_index(const struct seq_file *file);

void seq_printf(struct seq_file *file, const char *fmt, ...) __attribute__((format(printf, 2, 3)));

/*
 * For a show function that must not run twice: seq_file repeats the call with a larger buffer if
 * the text did not fit. Return: whether @bytes fit; if not, print nothing and return 0, and
 * seq_file calls again.
 */
bool helper_seq_has_room(struct seq_file *file, size_t bytes);

/* Return: the @data given at creation. */
void *helper_seq_private(const struct seq_file *file);

/* Return: the number of bytes that could not be read. */
unsigned long helper_copy_from_user(void *to, const void *user_from, unsigned long count);

ZEM_API_END

#endif /* _ZEM_KERNEL_API_PROC_FS_H */

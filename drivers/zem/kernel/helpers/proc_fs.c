// SPDX-License-Identifier: GPL-2.0
/* The operations of proc files that are shown completely, and the related macros. */
#include <linux/fs.h>
#include <linux/proc_fs.h>
#include <linux/seq_file.h>
#include <linux/uaccess.h>

#include "../api/proc_fs.h"

static int proc_file_open(struct inode *inode, struct file *file)
{
	const struct proc_file *row = pde_data(inode);

	return single_open(file, row->show, row->data);
}

static ssize_t proc_file_write(struct file *file, const char __user *text, size_t count,
			       loff_t *position)
{
	const struct proc_file *row = pde_data(file_inode(file));

	return row->write((const char __force *)text, count, row->data);
}

static const struct proc_ops read_write_ops = {
	.proc_open = proc_file_open,
	.proc_read = seq_read,
	.proc_write = proc_file_write,
	.proc_lseek = seq_lseek,
	.proc_release = single_release,
};

static const struct proc_ops read_ops = {
	.proc_open = proc_file_open,
	.proc_read = seq_read,
	.proc_lseek = seq_lseek,
	.proc_release = single_release,
};

static const struct proc_ops write_ops = {
	.proc_open = proc_file_open,
	.proc_write = proc_file_write,
	.proc_release = single_release,
};

struct proc_dir_entry *helper_proc_create(const char *name, umode_t mode,
					  struct proc_dir_entry *parent,
					  const struct proc_file *file)
{
	const struct proc_ops *ops = !file->show ? &write_ops :
				     file->write ? &read_write_ops :
						   &read_ops;

	return proc_create_data(name, mode, parent, ops, (void *)file);
}

bool helper_seq_has_room(struct seq_file *file, size_t bytes)
{
	if (file->size - file->count > bytes)
		return true;
	/* A full buffer makes seq_file allocate a larger one. */
	file->count = file->size;
	return false;
}

u64 helper_seq_index(const struct seq_file *file)
{
	return file->index;
}

void *helper_seq_private(const struct seq_file *file)
{
	return file->private;
}

unsigned long helper_copy_from_user(void *to, const void *user_from, unsigned long count)
{
	return copy_from_user(to, (const void __user __force *)user_from, count);
}

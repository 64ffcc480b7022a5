/* SPDX-License-Identifier: GPL-2.0 */
/* Files that take one command per write, as words of text. May sleep. */
#ifndef _ZEM_PLATFORM_COMMANDS_H
#define _ZEM_PLATFORM_COMMANDS_H

#include <linux/types.h>

struct dentry;
struct seq_file;
struct task_struct;

struct command_file {
	/* @text has no white space around it and may be modified. Return: 0 or an error code. */
	int (*run)(char *text);
	/* Shows what a read returns; NULL for a write-only file. */
	int (*show)(struct seq_file *file, void *unused);
};

/* @command must outlive the directory. */
void command_file_create(const char *name, struct dentry *directory,
			 const struct command_file *command);

/*
 * Splits @text in place. A word in double quotes may be empty or contain blanks.
 * Return: the number of words; -EINVAL if there are more than @limit or a quote is not closed.
 */
int command_words(char *text, char **words, int limit);

/* Takes a reference on the task. Return: -EINVAL or -ESRCH as an error pointer. */
struct task_struct *command_task(const char *pid);

#endif /* _ZEM_PLATFORM_COMMANDS_H */

/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Files that take one command per write, as words of text, and what their commands have in common.
 * All of it may sleep.
 */
#ifndef _ZEM_PLATFORM_COMMANDS_H
#define _ZEM_PLATFORM_COMMANDS_H

#include <linux/types.h>

struct dentry;
struct seq_file;
struct task_struct;

struct command_file {
	/* @text has no white space around it and may be taken apart. Return: 0 or an error code. */
	int (*run)(char *text);
	/* What reading the file gives; NULL for a file that is only written. */
	int (*show)(struct seq_file *file, void *unused);
};

/* @command must outlive the directory. */
void command_file_create(const char *name, struct dentry *directory,
			 const struct command_file *command);

/*
 * Takes @text apart. A word in double quotes may be empty or have blanks in it.
 * Return: how many words there are; -EINVAL when more than @limit, or when a quote does not end.
 */
int command_words(char *text, char **words, int limit);

/* Return: the task with a reference; -EINVAL or -ESRCH as an error pointer. */
struct task_struct *command_task(const char *pid);

#endif /* _ZEM_PLATFORM_COMMANDS_H */

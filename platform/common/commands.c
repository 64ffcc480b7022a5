// SPDX-License-Identifier: GPL-2.0
/* Creates the command files, splits commands into words and finds the tasks that they name. */
#include <linux/debugfs.h>
#include <linux/err.h>
#include <linux/fs.h>
#include <linux/kernel.h>
#include <linux/pid.h>
#include <linux/sched/task.h>
#include <linux/seq_file.h>
#include <linux/slab.h>
#include <linux/string.h>

#include "commands.h"

static ssize_t command_write(struct file *file, const char __user *from, size_t count,
			     loff_t *position)
{
	const struct command_file *command = file_inode(file)->i_private;
	char *text;
	int error;

	if (count >= PAGE_SIZE)
		return -EINVAL;
	text = memdup_user_nul(from, count);
	if (IS_ERR(text))
		return PTR_ERR(text);
	error = command->run(strim(text));
	kfree(text);
	return error ?: count;
}

static int command_open(struct inode *inode, struct file *file)
{
	const struct command_file *command = inode->i_private;

	return single_open(file, command->show, NULL);
}

static const struct file_operations read_write_fops = {
	.owner = THIS_MODULE,
	.open = command_open,
	.read = seq_read,
	.write = command_write,
	.llseek = seq_lseek,
	.release = single_release,
};

static const struct file_operations write_fops = {
	.owner = THIS_MODULE,
	.open = nonseekable_open,
	.write = command_write,
};

void command_file_create(const char *name, struct dentry *directory,
			 const struct command_file *command)
{
	debugfs_create_file(name, command->show ? 0644 : 0200, directory, (void *)command,
			    command->show ? &read_write_fops : &write_fops);
}

int command_words(char *text, char **words, int limit)
{
	int count = 0;

	while (*(text = skip_spaces(text))) {
		bool is_quoted = *text == '"';

		if (count == limit)
			return -EINVAL;
		text += is_quoted;
		words[count++] = text;
		text += strcspn(text, is_quoted ? "\"" : " \t\n");
		if (is_quoted && !*text)
			return -EINVAL;
		if (*text)
			*text++ = '\0';
	}
	return count;
}

struct task_struct *command_task(const char *text)
{
	struct task_struct *task;
	struct pid *pid;
	unsigned int number;

	if (kstrtouint(text, 10, &number) || number > INT_MAX)
		return ERR_PTR(-EINVAL);
	pid = find_get_pid(number);
	task = get_pid_task(pid, PIDTYPE_PID);
	put_pid(pid);
	return task ?: ERR_PTR(-ESRCH);
}

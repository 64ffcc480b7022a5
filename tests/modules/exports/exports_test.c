// SPDX-License-Identifier: GPL-2.0
/*
 * Calls the functions that zem exports besides the setters. The files are below
 * /sys/kernel/debug/zem_exports_test: "transfer" takes "BYTES read|write|dsync|no-kiocb", a
 * transfer of the writing task; "iowait" takes "PID NS"; "answers" shows the results of the other
 * functions.
 */
#include <linux/debugfs.h>
#include <linux/fs.h>
#include <linux/kernel.h>
#include <linux/module.h>
#include <linux/pid.h>
#include <linux/sched.h>
#include <linux/sched/task.h>
#include <linux/seq_file.h>
#include <linux/string.h>
#include <linux/uaccess.h>

#include <linux/zem.h>

static struct dentry *directory;

/* Copies the text of a write and terminates it. Return: 0 or -EINVAL. */
static int copy_text(char *text, size_t size, const char __user *from, size_t count)
{
	if (count >= size || copy_from_user(text, from, count))
		return -EINVAL;
	text[count] = '\0';
	return 0;
}

static ssize_t transfer_write(struct file *file, const char __user *from, size_t count, loff_t *at)
{
	struct kiocb kiocb = {};
	unsigned long long bytes;
	char text[64], kind[16];

	if (copy_text(text, sizeof(text), from, count) ||
	    sscanf(text, "%llu %15s", &bytes, kind) != 2)
		return -EINVAL;
	if (strcmp(kind, "dsync") == 0)
		kiocb.ki_flags = IOCB_DSYNC;
	record_uid_io_sync(strcmp(kind, "no-kiocb") ? &kiocb : NULL, bytes,
			   strcmp(kind, "read") != 0);
	return count;
}

static const struct file_operations transfer_fops = {
	.owner = THIS_MODULE,
	.write = transfer_write,
};

static ssize_t iowait_write(struct file *file, const char __user *from, size_t count, loff_t *at)
{
	struct task_struct *task;
	unsigned long long delay;
	char text[64];
	int pid;

	if (copy_text(text, sizeof(text), from, count) ||
	    sscanf(text, "%d %llu", &pid, &delay) != 2)
		return -EINVAL;
	task = get_pid_task(find_vpid(pid), PIDTYPE_PID);
	if (!task)
		return -ESRCH;
	record_uid_iowait(task, delay);
	put_task_struct(task);
	return count;
}

static const struct file_operations iowait_fops = {
	.owner = THIS_MODULE,
	.write = iowait_write,
};

static void show_kioind(struct seq_file *file, const struct zem_kio *kio)
{
	for (size_t i = 0; kio && i < ZEM_IO_TOP; i++)
		if (kio->io_top[i].uid)
			seq_printf(file, "uid %u swc %llu awc %llu reads %llu iowait %llu\n",
				   kio->io_top[i].uid, kio->io_top[i].value.swc,
				   kio->io_top[i].value.awc, kio->io_top[i].read_calls,
				   kio->io_top[i].value.iowait);
}

static int answers_show(struct seq_file *file, void *unused)
{
	const struct zem_kzerod *kzerod = get_kzerod_info();
	const u64 *totals = (const u64 *)kzerod;

	seq_printf(file, "foreground %u\ndisplay_interval %d\nkzerod", get_current_fg_uid(),
		   get_display_interval());
	for (size_t i = 0; i < sizeof(*kzerod) / sizeof(*totals); i++)
		seq_printf(file, " %llu", totals[i]);
	seq_putc(file, '\n');
	show_kioind(file, get_all_kioind());
	return 0;
}
DEFINE_SHOW_ATTRIBUTE(answers);

static int __init exports_test_init(void)
{
	directory = debugfs_create_dir("zem_exports_test", NULL);
	debugfs_create_file("transfer", 0200, directory, NULL, &transfer_fops);
	debugfs_create_file("iowait", 0200, directory, NULL, &iowait_fops);
	debugfs_create_file("answers", 0444, directory, NULL, &answers_fops);
	return 0;
}
module_init(exports_test_init);

static void __exit exports_test_exit(void)
{
	debugfs_remove_recursive(directory);
}
module_exit(exports_test_exit);

MODULE_DESCRIPTION("Caller of zem's exports, for tests");
MODULE_LICENSE("GPL");

// SPDX-License-Identifier: GPL-2.0
/*
 * Raises the hooks of reads and writes when the system calls return. The file is looked up a second
 * time for its open flags; a file that another thread has closed meanwhile counts as opened without
 * flags.
 */
#include <linux/compat.h>
#include <linux/file.h>
#include <linux/fs.h>
#include <linux/kernel.h>
#include <linux/sched.h>
#include <linux/unistd.h>

#include <asm/syscall.h>
#include <trace/events/syscalls.h>

#include "common/kernel_probes.h"
#include "contract/hooks.h"
#include "sources.h"

#ifndef CONFIG_HAVE_SYSCALL_TRACEPOINTS
#error "zem_platform needs a kernel with CONFIG_HAVE_SYSCALL_TRACEPOINTS"
#endif

/* The index of the flags among the arguments of preadv2() and pwritev2(). */
#define RWF_ARGUMENT 5

static bool is_read(int number)
{
	switch (number) {
	case __NR_read:
	case __NR_readv:
	case __NR_pread64:
	case __NR_preadv:
	case __NR_preadv2:
		return true;
	default:
		return false;
	}
}

static bool is_write(int number)
{
	switch (number) {
	case __NR_write:
	case __NR_writev:
	case __NR_pwrite64:
	case __NR_pwritev:
	case __NR_pwritev2:
		return true;
	default:
		return false;
	}
}

/* Restores what can be known of the kernel's kiocb of the transfer. */
static void rebuild(struct kiocb *kiocb, struct pt_regs *regs, int number, struct file *file)
{
	unsigned long arguments[6];

	*kiocb = (struct kiocb){.ki_filp = file, .ki_flags = file ? file->f_iocb_flags : 0};
	if (number != __NR_preadv2 && number != __NR_pwritev2)
		return;
	syscall_get_arguments(current, regs, arguments);
	if (arguments[RWF_ARGUMENT] & (RWF_DSYNC | RWF_SYNC))
		kiocb->ki_flags |= IOCB_DSYNC;
}

static void on_exit(void *data, struct pt_regs *regs, long result)
{
	int number = syscall_get_nr(current, regs);
	unsigned long arguments[6];
	struct kiocb kiocb;
	struct file *file;

	if (result < 0 || in_compat_syscall() || !(is_read(number) || is_write(number)))
		return;
	syscall_get_arguments(current, regs, arguments);
	file = fget(arguments[0]);
	rebuild(&kiocb, regs, number, file);
	if (is_read(number))
		trace_android_vh_task_rchar(&kiocb, current, result);
	else
		trace_android_vh_task_wchar(&kiocb, current, result);
	if (file)
		fput(file);
}

static struct kernel_probe probes[] = {
	{.name = "sys_exit", .probe = on_exit},
};

int live_syscalls_start(void)
{
	check_trace_callback_type_sys_exit(on_exit);
	return kernel_probes_attach(probes, ARRAY_SIZE(probes));
}

void live_syscalls_stop(void)
{
	kernel_probes_detach(probes, ARRAY_SIZE(probes));
}

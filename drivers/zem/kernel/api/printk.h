/* SPDX-License-Identifier: GPL-2.0 */
/* The kernel log: <linux/printk.h>, with the kernel's macros for the levels in use. */
#ifndef _ZEM_KERNEL_API_PRINTK_H
#define _ZEM_KERNEL_API_PRINTK_H

#include "types.h"

ZEM_API_BEGIN

/* @fmt begins with the level, which the macros below insert. Context: any, without a run-queue lock
 * held. */
int _printk(const char *fmt, ...) __attribute__((format(printf, 1, 2)));

/*
 * As _printk(). With interrupts off it leaves the consoles to an interrupt, because writing to one
 * may wake a task, and drops messages beyond 1000 in 5 s.
 * Context: any, including NMI and under a run-queue lock.
 */
int helper_printk_deferred(const char *fmt, ...) __attribute__((format(printf, 1, 2)));

ZEM_API_END

#ifdef __cplusplus
#define KERN_CRIT "\0012"
#define KERN_ERR "\0013"
#define KERN_WARNING "\0014"
#define KERN_INFO "\0016"
#define pr_crit(...) _printk(KERN_CRIT __VA_ARGS__)
#define pr_err(...) _printk(KERN_ERR __VA_ARGS__)
#define pr_err_deferred(...) helper_printk_deferred(KERN_ERR __VA_ARGS__)
#define pr_warn(...) _printk(KERN_WARNING __VA_ARGS__)
#define pr_info(...) _printk(KERN_INFO __VA_ARGS__)
#endif

#endif /* _ZEM_KERNEL_API_PRINTK_H */

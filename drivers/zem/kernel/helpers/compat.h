/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Kernel versions differ in what this header names. For C, after the kernel's own headers; also for
 * the platform's stand-in, the benchmarks and the tests. ../features.mk defines the conditions.
 */
#ifndef _ZEM_KERNEL_HELPERS_COMPAT_H
#define _ZEM_KERNEL_HELPERS_COMPAT_H

/*
 * The word of a bio that holds its issue stamp: ns in bits 0 to 50, 512-byte sectors above. Before
 * 6.18 the block layer stamps each bio. Later kernels have a plain time instead, and set it only
 * for blk-iolatency. There the platform stamps bios, and lends the word to zem while a hook runs.
 */
#ifdef KERNEL_BIO_HAS_ISSUE
#define BIO_STAMP bi_issue.value
#define BIO_IS_STAMPED_BY_PLATFORM 0
#else
#define BIO_STAMP issue_time_ns
#define BIO_IS_STAMPED_BY_PLATFORM 1
#endif

#endif /* _ZEM_KERNEL_HELPERS_COMPAT_H */

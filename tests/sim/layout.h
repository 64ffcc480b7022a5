/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Sizes of the simulated kernel's types for the module's sources: the build copies it to where
 * they look for the header that a kernel build generates. handle.h and others check that what the
 * simulation keeps in them fits.
 */
#pragma once

#define KERNEL_SIZEOF_COMPLETION 16
#define KERNEL_SIZEOF_MUTEX 16
#define KERNEL_SIZEOF_SPINLOCK 16
#define KERNEL_SIZEOF_RAW_SPINLOCK 16
#define KERNEL_SIZEOF_IRQ_WORK 16
#define KERNEL_SIZEOF_LOCK_CLASS_KEY 1
#define KERNEL_SIZEOF_KOBJ_ATTRIBUTE 32
#define KERNEL_SIZEOF_ATTRIBUTE_GROUP 16
#define KERNEL_SIZEOF_MISCDEVICE 24
#define KERNEL_SIZEOF_FILE_OPERATIONS 16
#define KERNEL_SIZEOF_STATIC_KEY 16
#define KERNEL_STATIC_KEY_TYPE 8
#define KERNEL_BIO_BDEV 8
#define KERNEL_BIO_OPF 16
#define KERNEL_BIO_FLAGS 20
#define KERNEL_BIO_ISSUE 24
#define KERNEL_BDEV_DEV 8
#define KERNEL_TASK_PID 0
#define KERNEL_TASK_EXIT_STATE 28
#define KERNEL_TASK_GROUP_LEADER 32
#define KERNEL_TASK_SUM_EXEC_RUNTIME 64

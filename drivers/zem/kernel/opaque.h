/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Storage for the kernel's own types: the sizes come from the kernel's headers at build time
 * (layout.c makes layout.gen.h). What is inside belongs to the kernel.
 */
#pragma once

#include "api/types.h"
#include "kernel/layout.gen.h"

#define ZEM_OPAQUE(type, size)                          \
	struct type {                                   \
		alignas(8) unsigned char storage[size]; \
	}

ZEM_OPAQUE(completion, KERNEL_SIZEOF_COMPLETION);
ZEM_OPAQUE(mutex, KERNEL_SIZEOF_MUTEX);
ZEM_OPAQUE(spinlock, KERNEL_SIZEOF_SPINLOCK);
ZEM_OPAQUE(raw_spinlock, KERNEL_SIZEOF_RAW_SPINLOCK);
ZEM_OPAQUE(irq_work, KERNEL_SIZEOF_IRQ_WORK);
ZEM_OPAQUE(lock_class_key, KERNEL_SIZEOF_LOCK_CLASS_KEY);
ZEM_OPAQUE(kobj_attribute, KERNEL_SIZEOF_KOBJ_ATTRIBUTE);
ZEM_OPAQUE(attribute_group, KERNEL_SIZEOF_ATTRIBUTE_GROUP);
ZEM_OPAQUE(miscdevice, KERNEL_SIZEOF_MISCDEVICE);
ZEM_OPAQUE(file_operations, KERNEL_SIZEOF_FILE_OPERATIONS);

#undef ZEM_OPAQUE

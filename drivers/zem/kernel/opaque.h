/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Storage for the kernel's types. Sizes and alignments come from the kernel's headers at build time
 * (layout.c produces layout.gen.h). Only the kernel accesses the content.
 */
#pragma once

#include "api/types.h"
#include "kernel/layout.gen.h"

#define ZEM_OPAQUE(type, name)                                                              \
	struct type {                                                                       \
		alignas(KERNEL_ALIGNOF_##name) unsigned char storage[KERNEL_SIZEOF_##name]; \
	}

ZEM_OPAQUE(completion, COMPLETION);
ZEM_OPAQUE(mutex, MUTEX);
ZEM_OPAQUE(spinlock, SPINLOCK);
ZEM_OPAQUE(raw_spinlock, RAW_SPINLOCK);
ZEM_OPAQUE(irq_work, IRQ_WORK);
ZEM_OPAQUE(lock_class_key, LOCK_CLASS_KEY);
ZEM_OPAQUE(kobj_attribute, KOBJ_ATTRIBUTE);
ZEM_OPAQUE(attribute_group, ATTRIBUTE_GROUP);
ZEM_OPAQUE(miscdevice, MISCDEVICE);
ZEM_OPAQUE(file_operations, FILE_OPERATIONS);

#undef ZEM_OPAQUE

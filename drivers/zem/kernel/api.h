/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Everything in the kernel that the module's C++ uses, declared once for both languages, in one
 * header for each of the kernel's. Exported functions keep their names; a macro or inline function
 * has a helper in helpers/, named helper_<kernel name>.
 *
 * C files include a header of api/ only after the kernel's own headers, so that a prototype that
 * differs from the kernel's does not compile.
 */
#ifndef _ZEM_KERNEL_API_H
#define _ZEM_KERNEL_API_H

#include "api/block.h"
#include "api/bug.h"
#include "api/cgroup.h"
#include "api/completion.h"
#include "api/cpumask.h"
#include "api/io_accounting.h"
#include "api/irq_work.h"
#include "api/jump_label.h"
#include "api/kthread.h"
#include "api/list.h"
#include "api/llist.h"
#include "api/miscdevice.h"
#include "api/module.h"
#include "api/mutex.h"
#include "api/parse.h"
#include "api/percpu.h"
#include "api/printk.h"
#include "api/proc_fs.h"
#include "api/rcu.h"
#include "api/ring_buffer.h"
#include "api/slab.h"
#include "api/spinlock.h"
#include "api/string.h"
#include "api/sysfs.h"
#include "api/task.h"
#include "api/time.h"
#include "api/topology.h"
#include "api/tracepoint.h"
#include "api/usb.h"

#endif /* _ZEM_KERNEL_API_H */

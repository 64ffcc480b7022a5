/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The objects that the module's handlers get from a kernel, for C++ and C. Each begins a cache
 * line, like the kernel's.
 */
#pragma once

#ifdef __cplusplus
#include <cstddef>
#else
#include <stdbool.h>
#include <stddef.h>
#include <sys/types.h>

typedef unsigned char u8;
typedef unsigned short u16;
typedef unsigned int u32;
typedef unsigned long long u64;
typedef long long s64;
typedef unsigned short umode_t;

struct list_head {
	struct list_head *next, *prev;
};

struct llist_node {
	struct llist_node *next;
};

/* For the declarations of imports that the plain C does not use. */
typedef struct {
	int counter;
} atomic_t;
#define DECLARE_PER_CPU(type, name) extern type name
#endif

#include "kernel/api/types.h"
#include "kernel/layout.gen.h"
#include "platform/contract.h"

#define HOST_OBJECT __attribute__((aligned(128)))

struct cred {
	u64 references;
	u32 uid;
} HOST_OBJECT;

struct task_struct {
	int pid;
	int exit_state;
	struct task_struct *group_leader;
	u64 sum_exec_runtime;
	u32 cpu;
	const struct cred *cred;
	int css_id;
	int svp; /* also the answer for the task's own standing */
	struct task_ext *record;
} HOST_OBJECT;

struct block_device {
	void *unused;
	u32 number;
} HOST_OBJECT;

struct bio {
	struct bio *unused;
	struct block_device *device;
	u32 operation;
	u16 flags;
	u64 issue;
} HOST_OBJECT;

struct kiocb {
	int flags;
} HOST_OBJECT;

/* One probe is enough for the module. */
struct tracepoint {
	void *probe;
};

#ifdef __cplusplus
static_assert(offsetof(task_struct, pid) == KERNEL_TASK_PID);
static_assert(offsetof(task_struct, exit_state) == KERNEL_TASK_EXIT_STATE);
static_assert(offsetof(task_struct, group_leader) == KERNEL_TASK_GROUP_LEADER);
static_assert(offsetof(task_struct, sum_exec_runtime) == KERNEL_TASK_SUM_EXEC_RUNTIME);
static_assert(offsetof(task_struct, cpu) == KERNEL_TASK_CPU);
static_assert(offsetof(task_struct, cred) == KERNEL_TASK_CRED);
static_assert(offsetof(cred, uid) == KERNEL_CRED_UID);
static_assert(offsetof(kiocb, flags) == KERNEL_KIOCB_FLAGS);
static_assert(offsetof(block_device, number) == KERNEL_BDEV_DEV);
static_assert(offsetof(bio, device) == KERNEL_BIO_BDEV);
static_assert(offsetof(bio, operation) == KERNEL_BIO_OPF);
static_assert(offsetof(bio, flags) == KERNEL_BIO_FLAGS);
static_assert(offsetof(bio, issue) == KERNEL_BIO_STAMP);
#endif

// SPDX-License-Identifier: GPL-2.0
/* Time, tasks, memory, static keys, hooks, and the platform. Files are never opened. */
#include <time.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "host/cpu.h"
#include "host/host.h"
#include "kernel/api/cgroup.h"
#include "kernel/api/io_accounting.h"
#include "kernel/api/jump_label.h"
#include "kernel/api/printk.h"
#include "kernel/api/proc_fs.h"
#include "kernel/api/slab.h"
#include "kernel/api/task.h"
#include "kernel/api/time.h"
#include "kernel/api/tracepoint.h"
#include "kernel/static_key.h"

#define DEFINE_HOOK(name, ...) struct tracepoint __tracepoint_##name;
PLATFORM_HOOKS(DEFINE_HOOK)
#undef DEFINE_HOOK

/* No row reads it. */
u64 cpu_irqtime;

list_head cluster_head{&cluster_head, &cluster_head};

namespace {

void (*feed)(task_struct *task, u32 cluster, u64 delta);

u64 nanoseconds_of(clockid_t clock)
{
	timespec now;
	clock_gettime(clock, &now);
	return static_cast<u64>(now.tv_sec) * 1'000'000'000 + static_cast<u64>(now.tv_nsec);
}

/* Stands for every file below /proc. */
char file;

} /* namespace */

namespace host {

void (*load_feed())(task_struct *task, u32 cluster, u64 delta)
{
	return feed;
}

} /* namespace host */

s64 ktime_get(void)
{
	return static_cast<s64>(nanoseconds_of(CLOCK_MONOTONIC));
}

u64 helper_ktime_get_real_ns(void)
{
	return nanoseconds_of(CLOCK_REALTIME);
}

/* A thread that has not entered a CPU, such as the one that counts, runs on CPU 0. */
struct task_struct *helper_current(void)
{
	static task_struct nobody{};
	return host::this_cpu.current ? host::this_cpu.current : &nobody;
}

s64 helper_task_uid(struct task_struct *task)
{
	return task->cred->uid;
}

int helper_task_cpu_css_id(struct task_struct *task)
{
	return task->css_id;
}

/* No task waits for IO, and no bio has a submitter. */
bool helper_task_in_iowait(const struct task_struct *)
{
	return false;
}

struct task_struct *helper_find_task_in_iowait(int)
{
	return nullptr;
}

int platform_bio_submitter(const struct bio *)
{
	return 0;
}

struct task_ext *platform_task_ext(struct task_struct *task)
{
	return __atomic_load_n(&task->record, __ATOMIC_ACQUIRE);
}

int test_task_svp(struct task_struct *task)
{
	return task->svp;
}

int test_task_orig_svp(struct task_struct *task)
{
	return task->svp;
}

/* The discovery of groups finds none: the benchmark sets their ids. */
struct cgroup_subsys_state *platform_cpu_css_from_id(int)
{
	return nullptr;
}

void register_load_stat_proc_runtime(void (*fn)(struct task_struct *, u32, u64))
{
	feed = fn;
}

void *helper_kzalloc(size_t size)
{
	/* A power of two is aligned to itself. */
	const size_t alignment = size & (size - 1) ? size_t{64} : size < 64 ? size_t{64} : size;
	const size_t room = (size + alignment - 1) / alignment * alignment;
	void *memory = std::aligned_alloc(alignment, room);
	return memory ? memset(memory, 0, room) : nullptr;
}

void *helper_kzalloc_atomic(size_t size)
{
	return helper_kzalloc(size);
}

void kfree(const void *memory)
{
	std::free(const_cast<void *>(memory));
}

/* The kernel patches code instead. */
int static_key_count(struct static_key *key)
{
	return __atomic_load_n(&key->enabled, __ATOMIC_RELAXED);
}

int tracepoint_probe_register(struct tracepoint *tp, void *probe, void *)
{
	tp->probe = probe;
	return 0;
}

int android_rvh_probe_register(struct tracepoint *hook, void *probe, void *data)
{
	return tracepoint_probe_register(hook, probe, data);
}

/* Only errors and worse matter here. */
int _printk(const char *fmt, ...)
{
	constexpr char kError = '3';
	if (fmt[0] != '\001' || fmt[1] > kError)
		return 0;
	va_list arguments;
	va_start(arguments, fmt);
	const int length = vfprintf(stderr, fmt + 2, arguments);
	va_end(arguments);
	return length;
}

int helper_printk_deferred(const char *fmt, ...)
{
	fprintf(stderr, "message of a producer: %s", fmt + 2);
	return 0;
}

struct proc_dir_entry *proc_mkdir(const char *, struct proc_dir_entry *)
{
	return reinterpret_cast<proc_dir_entry *>(&file);
}

struct proc_dir_entry *helper_proc_create(const char *, umode_t, struct proc_dir_entry *parent,
					  const struct proc_file *)
{
	return parent;
}

struct proc_dir_entry *proc_create_single_data(const char *, umode_t, struct proc_dir_entry *parent,
					       int (*)(struct seq_file *, void *), void *)
{
	return parent;
}

struct proc_dir_entry *proc_create_seq_private(const char *, umode_t, struct proc_dir_entry *parent,
					       const struct seq_operations *, unsigned int, void *)
{
	return parent;
}

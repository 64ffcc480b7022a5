// SPDX-License-Identifier: GPL-2.0
/* Finds handlers and the tasks to call them for. */
#include <linux/kprobes.h>
#include <linux/pid.h>
#include <linux/rcupdate.h>
#include <linux/sched.h>
#include <linux/sched/task.h>
#include <linux/tracepoint.h>

#include "handlers.h"

struct task_struct *bench_tasks[BENCH_TASKS];

static struct task_struct *get_task(int pid)
{
	struct task_struct *task;

	rcu_read_lock();
	task = pid_task(find_vpid(pid), PIDTYPE_PID);
	if (task)
		get_task_struct(task);
	rcu_read_unlock();
	return task;
}

int tasks_get(const int *numbers, unsigned int count)
{
	if (count != BENCH_TASKS)
		return -EINVAL;
	for (int i = 0; i < BENCH_TASKS; i++) {
		bench_tasks[i] = get_task(numbers[i]);
		if (!bench_tasks[i]) {
			tasks_put();
			return -ESRCH;
		}
	}
	return 0;
}

void tasks_put(void)
{
	for (int i = 0; i < BENCH_TASKS; i++) {
		if (bench_tasks[i])
			put_task_struct(bench_tasks[i]);
		bench_tasks[i] = NULL;
	}
}

void *probe_of(struct tracepoint *hook, int index)
{
	struct tracepoint_func *probes;
	void *found = NULL;

	rcu_read_lock();
	probes = rcu_dereference(hook->funcs);
	for (int i = 0; probes && probes[i].func; i++)
		if (i == index)
			found = probes[i].func;
	rcu_read_unlock();
	return found;
}

/* Uses the kernel's own look-up, whose address only a kprobe returns. */
void *function_of(const char *symbol)
{
	struct kprobe probe = {.symbol_name = "kallsyms_lookup_name"};
	unsigned long (*search)(const char *name);
	void *found;
	int error = register_kprobe(&probe);

	if (error) {
		pr_err("zem_bench: no function is found: %d\n", error);
		return NULL;
	}
	search = (void *)probe.addr;
	unregister_kprobe(&probe);
	found = (void *)search(symbol);
	if (!found)
		pr_err("zem_bench: no function %s\n", symbol);
	return found;
}

int handlers_find(const struct handler_place *places, size_t count)
{
	for (size_t i = 0; i < count; i++) {
		void **handler = places[i].handler;

		*handler = probe_of(places[i].hook, places[i].index);
		if (!*handler) {
			pr_err("zem_bench: %s has no probe %d\n", places[i].hook->name,
			       places[i].index);
			return -ENODEV;
		}
	}
	return 0;
}

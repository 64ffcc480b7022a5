/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Calls handlers and floors through a pointer as a hook calls them. The cost of a call to a
 * function that does nothing is subtracted.
 */
#ifndef _ZEM_BENCH_HANDLERS_H
#define _ZEM_BENCH_HANDLERS_H

#include <linux/compiler.h>
#include <linux/types.h>

struct task_struct;
struct tracepoint;

/* The task that a handler is called for: the argument of its row. */
enum bench_task { ORDINARY, IMPORTANT, BENCH_TASKS };
extern struct task_struct *bench_tasks[BENCH_TASKS];

/*
 * Takes references on an ordinary and on an SVP task, whose pids are @numbers; tasks_put() drops
 * them.
 */
int tasks_get(const int *numbers, unsigned int count);
void tasks_put(void);

/* Return: the @index-th probe of a hook in the order of attachment; NULL: none. */
void *probe_of(struct tracepoint *hook, int index);

/* The function that zem registers for the platform's load feed. */
#define LOAD_FEED "_ZN3zem12_GLOBAL__N_122load_stat_proc_runtimeEP11task_structjy"
typedef void (*load_handler)(struct task_struct *task, u32 cluster, u64 delta);

/* Return: a function that no module exports, by its mangled name; NULL: none. */
void *function_of(const char *symbol);

struct handler_place {
	void *handler; /* the address of the pointer that HANDLER() defines */
	struct tracepoint *hook;
	int index;
};

/* Return: 0, or -ENODEV when one of them is not attached. */
int handlers_find(const struct handler_place *places, size_t count);

/*
 * Defines the pointer @name, which handlers_find() sets at the start of a table, and two calls of a
 * row: of @name and of a function that does nothing. @kind is the row's argument.
 */
#define HANDLER_RETURNING(type, name, parameters, ...)            \
	static noinline type nothing_##name parameters            \
	{                                                         \
		return (type)0;                                   \
	}                                                         \
	static type(*name) parameters;                            \
	static type(*name##_nothing) parameters = nothing_##name; \
	static void call_##name(unsigned long kind)               \
	{                                                         \
		READ_ONCE(name)(__VA_ARGS__);                     \
	}                                                         \
	static void call_##name##_nothing(unsigned long kind)     \
	{                                                         \
		READ_ONCE(name##_nothing)(__VA_ARGS__);           \
	}

#define HANDLER(name, parameters, ...) HANDLER_RETURNING(void, name, parameters, __VA_ARGS__)

/* Also defines a call of the floor with the same arguments. */
#define HANDLER_WITH_FLOOR(name, parameters, ...)             \
	HANDLER(name, parameters, __VA_ARGS__)                \
	static void(*name##_floor) parameters = floor_##name; \
	static void call_##name##_floor(unsigned long kind)   \
	{                                                     \
		READ_ONCE(name##_floor)(__VA_ARGS__);         \
	}

#define HANDLER_ROW(hook, state, function, kind) \
	{.name = "handler/" hook "/" state,      \
	 .call = call_##function,                \
	 .empty = call_##function##_nothing,     \
	 .argument = kind}

#define FLOOR_ROW(hook, state, function, kind) \
	{.name = "handler/" hook "/" state,    \
	 .call = call_##function,              \
	 .floor = call_##function##_floor,     \
	 .empty = call_##function##_nothing,   \
	 .argument = kind}

/* The number of calls in one measurement. */
#define HANDLER_CALLS 400

#endif /* _ZEM_BENCH_HANDLERS_H */

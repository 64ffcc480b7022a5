/* SPDX-License-Identifier: GPL-2.0 */
/*
 * What the benches of handlers share. A handler is called as its hook calls it, through a pointer,
 * beside its floor, and what a call costs that does nothing is taken off.
 */
#ifndef _ZEM_BENCH_HANDLERS_H
#define _ZEM_BENCH_HANDLERS_H

#include <linux/compiler.h>
#include <linux/types.h>

struct task_struct;
struct tracepoint;

/* Whom a handler is called for, by the argument of its row. */
enum bench_task { ORDINARY, IMPORTANT, BENCH_TASKS };
extern struct task_struct *bench_tasks[BENCH_TASKS];

/* @numbers: the pids of an ordinary and of an SVP task, which are held until tasks_put(). */
int tasks_get(const int *numbers, unsigned int count);
void tasks_put(void);

/* The @index-th probe of a hook, in the order in which zem attached them; NULL: there is none. */
void *probe_of(struct tracepoint *hook, int index);

/* A function that no module exports, by its name as the compiler writes it; NULL: there is none. */
void *function_of(const char *symbol);

struct handler_place {
	void *handler; /* the pointer that HANDLER() has made */
	struct tracepoint *hook;
	int index;
};

/* Return: 0, or -ENODEV when one of them is not attached. */
int handlers_find(const struct handler_place *places, size_t count);

/*
 * Defines the pointer @name, which is found at the start of a table, and the calls of a row through
 * it, through its floor and through what does nothing. @kind is the row's argument for what is
 * passed.
 */
#define HANDLER_RETURNING(type, name, parameters, ...)            \
	static noinline type nothing_##name parameters            \
	{                                                         \
		return (type)0;                                   \
	}                                                         \
	static type(*name) parameters;                            \
	static type(*name##_floor) parameters = floor_##name;     \
	static type(*name##_nothing) parameters = nothing_##name; \
	static void call_##name(unsigned long kind)               \
	{                                                         \
		READ_ONCE(name)(__VA_ARGS__);                     \
	}                                                         \
	static void call_##name##_floor(unsigned long kind)       \
	{                                                         \
		READ_ONCE(name##_floor)(__VA_ARGS__);             \
	}                                                         \
	static void call_##name##_nothing(unsigned long kind)     \
	{                                                         \
		READ_ONCE(name##_nothing)(__VA_ARGS__);           \
	}

#define HANDLER(name, parameters, ...) HANDLER_RETURNING(void, name, parameters, __VA_ARGS__)

#define HANDLER_ROW(hook, state, function, kind) \
	{.name = "handler/" hook "/" state,      \
	 .call = call_##function,                \
	 .floor = call_##function##_floor,       \
	 .empty = call_##function##_nothing,     \
	 .argument = kind}

/* Calls in a row for one measurement. */
#define HANDLER_CALLS 400

#endif /* _ZEM_BENCH_HANDLERS_H */

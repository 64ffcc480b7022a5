/* SPDX-License-Identifier: GPL-2.0 */
/* Hooks by hand: a table for each family of hooks, which inject.c reads commands with. */
#ifndef _ZEM_PLATFORM_INJECT_H
#define _ZEM_PLATFORM_INJECT_H

#include <linux/types.h>

struct block_device;
struct dentry;
struct task_struct;

#define INJECTION_NUMBERS 5

/* The arguments of a command, each kind in the command's order. */
struct injection {
	struct task_struct *task; /* with a reference, or NULL */
	struct block_device *device; /* likewise */
	u64 numbers[INJECTION_NUMBERS];
	bool dsync;
	void *object; /* the hook's own */
};

struct hook {
	const char *name; /* NULL: the end of the table */
	/*
	 * A letter for each word that has to be there: a process id, a number, a signed number,
	 * a block device (its path or MAJOR:MINOR), and one that need not: "dsync".
	 */
	const char *arguments; /* of p, n, s, d, o; NULL: the hook parses its words itself */
	/* With interrupts off. */
	void (*raise)(const struct injection *injection);
	/*
	 * Of its own words, or none to check the arguments. May sleep; what it makes is undone by
	 * release(), also after an error. Return: 0 or an error code.
	 */
	int (*prepare)(struct injection *injection, char *const *words, int count);
	void (*release)(struct injection *injection);
};

extern const struct hook sched_hooks[];
extern const struct hook block_hooks[];
extern const struct hook usb_hooks[];

/* inject_block.c */
void inject_block_init(struct dentry *directory);

#endif /* _ZEM_PLATFORM_INJECT_H */

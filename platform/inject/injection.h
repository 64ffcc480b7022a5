/* SPDX-License-Identifier: GPL-2.0 */
/* The hooks that "raise" knows: a table for each family of hooks, with their arguments. */
#ifndef _ZEM_PLATFORM_INJECTION_H
#define _ZEM_PLATFORM_INJECTION_H

#include <linux/types.h>

struct block_device;
struct dentry;
struct task_struct;

#define INJECTION_NUMBERS 5

/* The arguments of a command; those of one kind in the command's order. */
struct injection {
	struct task_struct *task; /* with a reference, or NULL */
	struct block_device *device; /* with a reference, or NULL */
	u64 numbers[INJECTION_NUMBERS];
	bool dsync;
	void *object; /* private to the hook */
};

struct hook {
	const char *name; /* NULL: the end of the table */
	/*
	 * A letter for each word: p a process id, n a number, s a signed number, d a block device
	 * (its path or MAJOR:MINOR), o the optional word "dsync". NULL: prepare() parses the words.
	 */
	const char *arguments;
	/* Context: interrupts off. */
	void (*raise)(const struct injection *injection);
	/*
	 * Checks the arguments, or parses the words. May be NULL; may sleep. release() frees what
	 * it allocates, also after an error. Return: 0 or an error code.
	 */
	int (*prepare)(struct injection *injection, char *const *words, int count);
	void (*release)(struct injection *injection);
};

extern const struct hook sched_hooks[];
extern const struct hook block_hooks[];
extern const struct hook usb_hooks[];

/* Creates the file of block.c. */
void inject_block_init(struct dentry *directory);

#endif /* _ZEM_PLATFORM_INJECTION_H */

// SPDX-License-Identifier: GPL-2.0
/*
 * Makes the mistake that the module's parameter names when the module is loaded. A race continues
 * on CPUs 0 and 1 until the module is unloaded.
 */
#include <linux/err.h>
#include <linux/init.h>
#include <linux/kthread.h>
#include <linux/module.h>
#include <linux/sched.h>
#include <linux/string.h>

#include "mistakes.h"

#define RACERS 2
#define ROUNDS 1000

static char *mistake = "";
module_param(mistake, charp, 0);
MODULE_PARM_DESC(mistake, "the mistake to make");

static const struct {
	const char *name;
	void (*make)(void);
	bool is_race;
} mistakes[] = {
	{"read_past_the_end", mistake_read_past_the_end},
	{"copy_past_the_end", mistake_copy_past_the_end},
	{"read_freed_memory", mistake_read_freed_memory},
	{"race_on_a_word", mistake_race_on_a_word, true},
	{"race_on_a_block", mistake_race_on_a_block, true},
};

static void (*race)(void);
static struct task_struct *racers[RACERS];

static int race_body(void *unused)
{
	while (!kthread_should_stop()) {
		for (int round = 0; round < ROUNDS; round++)
			race();
		cond_resched();
	}
	return 0;
}

static void stop_racers(void)
{
	for (int cpu = 0; cpu < RACERS; cpu++)
		if (racers[cpu])
			kthread_stop(racers[cpu]);
}

static int start_racers(void)
{
	for (int cpu = 0; cpu < RACERS; cpu++) {
		struct task_struct *racer = kthread_create(race_body, NULL, "zem_racer/%d", cpu);

		if (IS_ERR(racer)) {
			stop_racers();
			return PTR_ERR(racer);
		}
		kthread_bind(racer, cpu);
		racers[cpu] = racer;
		wake_up_process(racer);
	}
	return 0;
}

static int __init mistakes_init(void)
{
	for (int k = 0; k < ARRAY_SIZE(mistakes); k++) {
		if (strcmp(mistakes[k].name, mistake))
			continue;
		if (mistakes[k].is_race) {
			race = mistakes[k].make;
			return start_racers();
		}
		mistakes[k].make();
		return 0;
	}
	return -EINVAL;
}
module_init(mistakes_init);

static void __exit mistakes_exit(void)
{
	stop_racers();
}
module_exit(mistakes_exit);

MODULE_DESCRIPTION("Mistakes for the kernel's sanitizers to find");
MODULE_LICENSE("GPL");

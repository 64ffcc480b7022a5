// SPDX-License-Identifier: GPL-2.0
/* Starts and stops the sources of live hooks: "live" switches them. */
#include <linux/debugfs.h>
#include <linux/errno.h>
#include <linux/kernel.h>
#include <linux/kstrtox.h>
#include <linux/mutex.h>
#include <linux/seq_file.h>

#include "common/commands.h"
#include "live.h"
#include "sources.h"

static DEFINE_MUTEX(live_lock);
static bool live;

static const struct source {
	int (*start)(void);
	void (*stop)(void);
} sources[] = {
	{live_sched_start, live_sched_stop},	   {live_stat_start, live_stat_stop},
	{live_irq_start, live_irq_stop},	   {live_block_start, live_block_stop},
	{live_syscalls_start, live_syscalls_stop},
#if IS_ENABLED(CONFIG_USB)
	{live_usb_start, live_usb_stop},
#endif
};

static void stop_sources(size_t count)
{
	while (count--)
		sources[count].stop();
}

static int start_sources(void)
{
	for (size_t i = 0; i < ARRAY_SIZE(sources); i++) {
		int error = sources[i].start();

		if (error) {
			stop_sources(i);
			return error;
		}
	}
	return 0;
}

static int set_live(bool wanted)
{
	int error = 0;

	mutex_lock(&live_lock);
	if (wanted && !live)
		error = start_sources();
	else if (!wanted && live)
		stop_sources(ARRAY_SIZE(sources));
	if (!error)
		WRITE_ONCE(live, wanted);
	mutex_unlock(&live_lock);
	return error;
}

int live_lock_off(void)
{
	mutex_lock(&live_lock);
	if (!live)
		return 0;
	mutex_unlock(&live_lock);
	return -EBUSY;
}

void live_unlock(void)
{
	mutex_unlock(&live_lock);
}

static int live_run(char *text)
{
	bool wanted;

	return kstrtobool(text, &wanted) ?: set_live(wanted);
}

static int live_show(struct seq_file *file, void *unused)
{
	seq_puts(file, READ_ONCE(live) ? "Y\n" : "N\n");
	return 0;
}

static const struct command_file live_file = {.run = live_run, .show = live_show};

int live_init(struct dentry *directory)
{
	int error = set_live(true);

	if (error)
		return error;
	command_file_create("live", directory, &live_file);
	return 0;
}

void live_exit(void)
{
	set_live(false);
}

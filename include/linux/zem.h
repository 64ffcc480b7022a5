/* SPDX-License-Identifier: GPL-2.0 */
/*
 * What zem exports to other kernel code: one setter for each channel, and the places where
 * providers leave their entry points. For C and for the module's own C++.
 */
#ifndef _LINUX_ZEM_H
#define _LINUX_ZEM_H

#include <uapi/linux/zem.h>

#ifdef __cplusplus
extern "C" {
#endif

/*
 * <channel>_zem_set() pushes one record: @len bytes (at most ZEM_PAYLOAD_MAX) from @data, with
 * the low byte of @sub_type in its header. @reserved is ignored; pass 0.
 *
 * Any context but an NMI, and not while holding a run-queue lock; never sleeps. There is no
 * result: a record that can't be taken is dropped and logged, and while /sys/zem/trace_on is 0
 * nothing is recorded. The ring buffer behind takes a little less than a page for one record.
 */
#define ZEM_DECLARE_SETTER(symbol, name)                                            \
	void name##_zem_set(unsigned long long reserved, const void *data, int len, \
			    unsigned int sub_type);
ZEM_CHANNELS(ZEM_DECLARE_SETTER)
#undef ZEM_DECLARE_SETTER

/* Return: seconds between two calls of display_error_zem_update(); 0 is never. Any context. */
int get_display_interval(void);

/*
 * Any context. Return: the zero-page daemon's running totals as they are now, never NULL; the next
 * call writes over them.
 */
struct zem_kzerod *get_kzerod_info(void);

struct kiocb;
struct task_struct;

/*
 * Counts @bytes that the current task has read or written for its UID, if that is known. @iocb may
 * be NULL. Any context.
 */
void record_uid_io_sync(struct kiocb *iocb, unsigned long long bytes, int is_write);

/* Adds @delay ns of IO wait to the UID of @task, if it is in one. Any context. */
void record_uid_iowait(struct task_struct *task, unsigned long long delay);

/* Any context. Return: the UID of the app that is in the foreground; 0: none is. */
unsigned int get_current_fg_uid(void);

/*
 * Process context; may sleep. Return: the IO snapshot brought up to date, a struct zem_kio; NULL
 * while the IO indicators are off. The next call writes over it.
 */
void *get_all_kioind(void);

/*
 * Left by a memory-indicator module: returns its block of sizeof(struct zem_kmem) bytes, or
 * NULL when it has nothing. Called in process context and may sleep; the block is uploaded and
 * then cleared to zeros. The collector thread and a write to /sys/zem/trigger may call at once.
 */
extern void *(*get_all_kmemind_func)(void);

/*
 * Left by a display module: called in process context when the display family is due, with the
 * interval in seconds; may sleep. The module reports through display_zem_set() itself.
 */
extern void (*display_error_zem_update)(int interval);

#ifdef __cplusplus
}
#endif

#endif /* _LINUX_ZEM_H */

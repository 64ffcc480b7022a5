/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The interface of zem for other kernel code: a setter for each channel, functions of the IO
 * accounting, and pointers that providers set. For C and for the module's own C++.
 */
#ifndef _LINUX_ZEM_H
#define _LINUX_ZEM_H

#include <uapi/linux/zem.h>

#ifdef __cplusplus
extern "C" {
#endif

/*
 * <channel>_zem_set() pushes one record of @len bytes (at most ZEM_PAYLOAD_MAX) from @data, with
 * the low byte of @sub_type in its header. @reserved is ignored; pass 0.
 *
 * The functions return no error: a record that cannot be taken is dropped and logged, and nothing
 * is recorded while /sys/zem/trace_on is 0. The ring buffer accepts a little less than a page for
 * one record.
 *
 * Context: any, including NMI and under a run-queue lock. Does not sleep.
 */
#define ZEM_DECLARE_SETTER(symbol, name)                                            \
	void name##_zem_set(unsigned long long reserved, const void *data, int len, \
			    unsigned int sub_type);
ZEM_CHANNELS(ZEM_DECLARE_SETTER)
#undef ZEM_DECLARE_SETTER

/*
 * Return: seconds between two calls of display_error_zem_update(); 0: it is not called.
 * Context: any.
 */
int get_display_interval(void);

/*
 * Return: the present totals of the zero-page daemon, never NULL. The next call overwrites them.
 * Context: any.
 */
struct zem_kzerod *get_kzerod_info(void);

struct kiocb;
struct task_struct;

/*
 * Counts @bytes read or written by the current task for its UID, if the UID is known. @iocb may be
 * NULL.
 * Context: any.
 */
void record_uid_io_sync(struct kiocb *iocb, unsigned long long bytes, int is_write);

/* Adds @delay ns of IO wait to the UID of @task, if the task waits for IO. Context: any. */
void record_uid_iowait(struct task_struct *task, unsigned long long delay);

/* Return: the UID of the app in the foreground; 0: none. Context: any. */
unsigned int get_current_fg_uid(void);

/*
 * Updates the IO snapshot.
 * Return: the snapshot, a struct zem_kio, which the next call overwrites; NULL while the IO
 * indicators are off.
 * Context: process; may sleep.
 */
void *get_all_kioind(void);

/*
 * Set by a memory-indicator module. Returns a block of sizeof(struct zem_kmem) bytes, or NULL if
 * there is nothing to report. zem uploads the block and then clears it.
 * Context: process; may sleep. Calls are serialised.
 */
extern void *(*get_all_kmemind_func)(void);

/*
 * Set by a display module. Called with the interval in seconds when the display interval has
 * expired; the module pushes its records with display_zem_set().
 * Context: process; may sleep. The collector thread and a write to /sys/zem/trigger may call it
 * concurrently.
 */
extern void (*display_error_zem_update)(int interval);

#ifdef __cplusplus
}
#endif

#endif /* _LINUX_ZEM_H */

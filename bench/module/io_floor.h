/* SPDX-License-Identifier: GPL-2.0 */
/* The handlers of block IO, of IO by UID and of USB events in plain C: the same logic. */
#ifndef _ZEM_BENCH_IO_FLOOR_H
#define _ZEM_BENCH_IO_FLOOR_H

#include <linux/types.h>

struct bio;
struct kiocb;
struct task_struct;

/* By the index of its row. */
#define FLOOR_DEVICES 4
void floor_track(unsigned int index, dev_t dev);

/* The device that the events of USB are of. */
void floor_plug(const char *manufacturer, const char *product);

/* Any context. Return: the state of a UID, 0 foreground, 1 background. */
u32 floor_get_uid_state(u32 uid);

/* Called through pointers, with the arguments of the hooks. */
void floor_submit(void *data, struct bio *bio);
void floor_endio(void *data, struct bio *bio);
void floor_clone(void *data, struct bio *clone, struct bio *source);
void floor_rchar(void *data, struct kiocb *iocb, struct task_struct *task, s64 bytes);
void floor_wchar(void *data, struct kiocb *iocb, struct task_struct *task, s64 bytes);
void floor_iowait(void *data, struct task_struct *task, u64 delay);
void floor_usb(void *data, void *pointer, int type);

/* Frees the UIDs, when no handler runs. */
void floor_forget_uids(void);

#endif /* _ZEM_BENCH_IO_FLOOR_H */

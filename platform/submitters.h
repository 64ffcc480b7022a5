/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Who submitted a bio, and whether zem marked it, from its submission to its completion. Any
 * context.
 */
#ifndef _ZEM_PLATFORM_SUBMITTERS_H
#define _ZEM_PLATFORM_SUBMITTERS_H

#include <linux/types.h>

struct bio;

/*
 * By the bio's owner. When there is no room left near its place, it is not remembered. One that is
 * remembered already, because it is passed on, keeps its mark.
 */
void submitter_remember(const struct bio *bio, pid_t pid);
void submitter_forget(const struct bio *bio);

/* By the bio's owner, of one that is remembered; of another nothing is kept. */
void submitter_set_mark(const struct bio *bio, bool mark);
bool submitter_mark(const struct bio *bio);

/* While no bio is remembered or forgotten. */
void submitters_forget_all(void);

#endif /* _ZEM_PLATFORM_SUBMITTERS_H */

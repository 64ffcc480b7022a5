/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Remembers a bio's submitter, whether zem marked the bio, and its stamp, from its submission to
 * its completion. Context: any.
 */
#ifndef _ZEM_PLATFORM_SUBMITTERS_H
#define _ZEM_PLATFORM_SUBMITTERS_H

#include <linux/types.h>

struct bio;

/*
 * Called by the bio's owner. The bio is not remembered if its part of the table is full. A bio that
 * is remembered already, because a driver passes it on, keeps its mark.
 */
void submitter_remember(const struct bio *bio, pid_t pid);
void submitter_forget(const struct bio *bio);

/* Called by the bio's owner. Without effect on a bio that is not remembered. */
void submitter_set_mark(const struct bio *bio, bool mark);
bool submitter_mark(const struct bio *bio);

/*
 * Called by the bio's owner, on kernels that do not stamp bios. Set the stamp of a bio when it is
 * remembered: until then it may be that of an earlier bio. Return: 0 if it is not remembered.
 */
void submitter_set_stamp(const struct bio *bio, u64 stamp);
u64 submitter_stamp(const struct bio *bio);

/* No bio may be remembered or forgotten meanwhile. */
void submitters_forget_all(void);

#endif /* _ZEM_PLATFORM_SUBMITTERS_H */

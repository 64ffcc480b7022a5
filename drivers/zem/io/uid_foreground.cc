// SPDX-License-Identifier: GPL-2.0
/*
 * The UIDs of the last two foreground apps, because an app may become the foreground while the
 * other one is still leaving it. Written by user space, read in any context without a lock.
 */
#include "io/uid_foreground.h"

#include "io/uid_entry.h"
#include "kernel/relaxed.h"
#include "linux/zem.h"

namespace zem {

namespace {

constinit Relaxed<u32> fg_uid[2]{};
/* Index of the current one. */
constinit Relaxed<u32> fg_point{0};

void note_left(u32 uid)
{
	for (u32 place = 0; place < 2; place++) {
		if (uid != fg_uid[place].load())
			continue;
		fg_uid[place].store(0);
		fg_point.store(place ^ 1);
	}
}

/* A UID of the pair becomes current. Any other UID replaces the one that is not current. */
void note_came(u32 uid)
{
	u32 place = fg_point.load() ^ 1;
	if (uid == fg_uid[0].load())
		place = 0;
	else if (uid == fg_uid[1].load())
		place = 1;
	fg_uid[place].store(uid);
	fg_point.store(place);
}

} /* namespace */

void note_foreground(u32 uid, u32 state)
{
	if (state == kBackground)
		note_left(uid);
	else
		note_came(uid);
}

} /* namespace zem */

unsigned int get_current_fg_uid(void)
{
	return zem::fg_uid[zem::fg_point.load()].load();
}

// SPDX-License-Identifier: GPL-2.0
/*
 * The UIDs of the two apps that were in the foreground last: one comes while the other is still
 * leaving. Written as user space tells, read in any context, without a lock.
 */
#include "io/uid_entry.h"
#include "io/uid_io.h"
#include "kernel/relaxed.h"
#include "linux/zem.h"

namespace zem {

namespace {

constinit Relaxed<u32> fg_uid[2]{};
/* Which of them is the current one. */
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

/* One that is known becomes current; any other takes the place that is not. */
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

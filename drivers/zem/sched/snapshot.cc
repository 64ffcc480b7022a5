// SPDX-License-Identifier: GPL-2.0
#include "sched/snapshot.h"

#include "kernel/api/slab.h"

namespace zem {

bool SnapshotValues::take(size_t values)
{
	values_ = static_cast<u64 *>(helper_kzalloc(values * sizeof(u64)));
	return values_;
}

void SnapshotValues::drop()
{
	kfree(values_);
	values_ = nullptr;
}

} /* namespace zem */

/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The buffer of a view, with its lock. The first of two reads of an interval view stores the
 * counters in it; the second read shows the increase and frees it. All readers of the file share
 * it. Context: may sleep.
 */
#pragma once

#include "kernel/api/types.h"
#include "kernel/guarded.h"

namespace zem {

class SnapshotValues {
public:
	constexpr SnapshotValues() = default;
	SnapshotValues(const SnapshotValues &) = delete;
	SnapshotValues &operator=(const SnapshotValues &) = delete;

	[[nodiscard]] bool is_taken() const { return values_; }

	/* Allocates @values zeros. Return: false without memory. */
	[[nodiscard]] bool take(size_t values);

	[[nodiscard]] u64 *values() { return values_; }

	void drop();

private:
	u64 *values_ = nullptr;
};

using Snapshot = Guarded<SnapshotValues, Mutex>;

} /* namespace zem */

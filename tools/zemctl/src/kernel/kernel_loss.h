/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The module's counters below /sys/module/zem/counters, which include the lost records, and their
 * growth while zemctl runs. A counter whose file is missing, as in an older module, is unknown,
 * which differs from 0.
 */
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "records/marks.h"

namespace zemctl {

/* In the order of kModuleCounters. */
enum class KernelCounter : std::size_t {
	kPushed,
	kOverwritten,
	kRefused,
	kTooLarge,
	kDropped,
	kNotifyTimeouts,
	kEmptyPasses,
	kUidsRefused,
	kSvpTasksRefused,
};

/* The counters of lost records. */
inline constexpr std::array<KernelCounter, 4> kLossCounters = {
	KernelCounter::kOverwritten,
	KernelCounter::kRefused,
	KernelCounter::kTooLarge,
	KernelCounter::kDropped,
};

class KernelCounters {
public:
	using Value = std::optional<std::uint64_t>;

	/* Reads the files in @directory. */
	static KernelCounters read(const std::string &directory);

	Value &operator[](KernelCounter counter)
	{
		return values_[static_cast<std::size_t>(counter)];
	}
	const Value &operator[](KernelCounter counter) const
	{
		return values_[static_cast<std::size_t>(counter)];
	}

	/* The sum of the known counters of lost records. */
	std::uint64_t lost() const;
	/* Returns whether all counters of lost records are known. */
	bool tells_loss() const;

	/* "12 overwritten, 0 refused, 0 too large, 3 dropped", with "?" for an unknown counter. */
	std::string loss_text() const;

private:
	std::array<Value, kModuleCounters.size()> values_{};
};

/* The growth of the counters from the construction of the meter to the last update. */
class LossMeter {
public:
	explicit LossMeter(std::string directory);

	/* Reads the counters. Return: the number of records lost since the previous update. */
	std::uint64_t update();

	const KernelCounters &growth() const { return growth_; }
	/* Returns whether counters have decreased: the counts just before that are unknown. */
	bool has_restarted() const { return restarted_; }
	bool is_known() const { return growth_.tells_loss() && !restarted_; }
	const std::string &directory() const { return directory_; }

private:
	std::string directory_;
	KernelCounters last_;
	KernelCounters growth_;
	bool restarted_ = false;
};

} // namespace zemctl

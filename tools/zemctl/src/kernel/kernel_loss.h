/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The module's own counters of what it could not keep, below /sys/module/zem/counters, and how they
 * grow while zemctl runs. A counter whose file is missing, as in an older module, is unknown, which
 * is not the same as 0.
 */
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zemctl {

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

/* The names of the files, in the order of KernelCounter. */
inline constexpr std::array<std::string_view, 9> kKernelCounterFiles = {
	"records_pushed",    "records_overwritten", "records_refused",
	"records_too_large", "records_dropped",	    "notify_timeouts",
	"empty_passes",	     "uids_refused",	    "svp_tasks_refused",
};

/* The counters that stand for lost records, one record each. */
inline constexpr std::array<KernelCounter, 4> kLossCounters = {
	KernelCounter::kOverwritten,
	KernelCounter::kRefused,
	KernelCounter::kTooLarge,
	KernelCounter::kDropped,
};

class KernelCounters {
public:
	using Value = std::optional<std::uint64_t>;

	/* @directory: where the files are. */
	static KernelCounters read(const std::string &directory);

	Value &operator[](KernelCounter counter)
	{
		return values_[static_cast<std::size_t>(counter)];
	}
	const Value &operator[](KernelCounter counter) const
	{
		return values_[static_cast<std::size_t>(counter)];
	}

	/* The lost records, as far as they are known. */
	std::uint64_t lost() const;
	/* Does every file of lost records exist? */
	bool tells_loss() const;

	/* "12 overwritten, 0 refused, 0 too large, 3 dropped"; "?" for what is unknown. */
	std::string loss_text() const;

private:
	std::array<Value, kKernelCounterFiles.size()> values_{};
};

/* The growth of the counters from the construction of the meter to the last update. */
class LossMeter {
public:
	explicit LossMeter(std::string directory);

	/* Reads the counters. Return: the records that were lost since the update before. */
	std::uint64_t update();

	const KernelCounters &growth() const { return growth_; }
	/* The counters went back: what was counted before they did is not known. */
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

/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The results of the workers, in memory that all of them share, and the signals between them: when
 * to stop, and when the module is about to be unloaded.
 */
#pragma once

#include <array>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <string>

namespace fuzz {

/* Outcomes of one kind of call: the number of calls, and the errors that occurred. */
class Outcomes {
public:
	/* @result of a system call; if it is negative, errno has the error. */
	void add(long result)
	{
		const int error = result < 0 ? errno : 0;
		calls_.fetch_add(1, std::memory_order_relaxed);
		if (!error)
			done_.fetch_add(1, std::memory_order_relaxed);
		else if (static_cast<std::size_t>(error) < 64 * errors_.size())
			errors_[static_cast<std::size_t>(error) / 64].fetch_or(
				std::uint64_t{1} << (error % 64), std::memory_order_relaxed);
	}

	std::uint64_t calls() const { return calls_.load(std::memory_order_relaxed); }
	std::uint64_t done() const { return done_.load(std::memory_order_relaxed); }
	/* For example "EINVAL EFAULT", in numerical order. */
	std::string errors() const;
	/* Adds the errors, not the counts, of @other. */
	void include_errors(const Outcomes &other)
	{
		for (std::size_t i = 0; i < errors_.size(); i++)
			errors_[i] |= other.errors_[i].load();
	}

private:
	bool has(int error) const
	{
		return errors_[static_cast<std::size_t>(error) / 64].load() >> (error % 64) & 1;
	}

	std::atomic<std::uint64_t> calls_{0};
	std::atomic<std::uint64_t> done_{0};
	std::array<std::atomic<std::uint64_t>, 3> errors_{};
};

struct FileLedger {
	char path[96];
	unsigned int mode;
	Outcomes opens;
	Outcomes stores; /* write calls of any kind */
	Outcomes reads;

	bool is_writable() const { return mode & 0222; }
	bool is_readable() const { return mode & 0444; }
	bool is_writable_by_all() const { return mode & 0002; }
	bool is_readable_by_all() const { return mode & 0004; }
};

inline constexpr std::size_t kFilesMax = 160;
inline constexpr std::size_t kDeviceCallsMax = 48;

struct Ledger {
	std::atomic<bool> stopping{false};
	/* Set before an unload. Workers close the device and its mappings, which pin the module. */
	std::atomic<bool> unloading{false};

	std::atomic<std::uint64_t> stores{0};
	std::uint64_t wanted_stores = 0;

	Outcomes loads;
	Outcomes unloads;

	std::size_t file_count = 0;
	std::array<FileLedger, kFilesMax> files{};
	std::array<Outcomes, kDeviceCallsMax> device{};

	void count_store()
	{
		if (stores.fetch_add(1, std::memory_order_relaxed) + 1 >= wanted_stores)
			stopping = true;
	}
};

/* Allocates the ledger in memory that stays shared across fork(). */
Ledger &make_ledger();

/* Lists the module's present files. Return: whether all expected files exist. */
bool find_files(Ledger &ledger);

/* Prints the counts of a run, a line for each file and each call on the device. */
void print_summary(const Ledger &ledger);

/* Prints what is missing for a complete run. Return: whether the run was complete. */
bool check_completeness(const Ledger &ledger);

/* Ends the process with a message if the machine, not the module, is at fault. */
[[noreturn]] void give_up(const char *what);

} // namespace fuzz

/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Read-copy-update: readers share a lock, and what they may still see is freed when there is
 * none. That orders readers with who frees, as a grace period does, and with nobody else.
 */
#pragma once

#include <functional>
#include <mutex>
#include <shared_mutex>
#include <vector>

namespace sim {

class Rcu {
public:
	~Rcu() { free_retired(); }

	void read_lock();
	void read_unlock();

	/* Notes a problem if the calling task is no reader. */
	void expect_reader(const char *call);

	/* Waits for all readers of now. */
	void synchronize();

	/* Runs @free when no reader is left. Any context. */
	void retire(std::function<void()> free);

private:
	void free_retired();

	std::shared_mutex readers_;
	std::mutex lock_;
	std::vector<std::function<void()>> retired_;
};

} /* namespace sim */

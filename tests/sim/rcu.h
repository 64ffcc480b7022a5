/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Read-copy-update. Readers share a lock, and retired objects are freed when there is no reader.
 * Like a grace period, this orders readers only with the freeing thread.
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

	/* Notes a problem if the calling task is not in a read section. */
	void expect_reader(const char *call);

	/* Waits for all present readers. */
	void synchronize();

	/* Runs @free when no reader remains. Any context. */
	void retire(std::function<void()> free);

private:
	void free_retired();

	std::shared_mutex readers_;
	std::mutex lock_;
	std::vector<std::function<void()>> retired_;
};

} /* namespace sim */

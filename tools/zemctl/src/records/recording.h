/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Writes a recording in a second thread, behind a queue of limited size: a slow disk does not delay
 * the reader of the shared buffer.
 */
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <exception>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "records/capture_files.h"

namespace zemctl {

/* Whole records back to back, then what is known at their end. */
struct Delivery {
	std::vector<std::byte> records;
	std::uint64_t count = 0; /* of records */
	Losses losses; /* in total */
	std::optional<Moment> moment;
};

class Recording {
public:
	/* The bytes of records that may wait for the file. */
	static constexpr std::size_t kQueueLimit = std::size_t{16} << 20;
	/*
	 * The thread sleeps until this much is queued, or until the first of it has waited this
	 * long. Each run of the thread costs two switches of tasks and a system call.
	 */
	static constexpr std::size_t kBatchSize = CaptureWriter::kBlockSize;
	static constexpr auto kHoldTime = std::chrono::milliseconds(250);

	explicit Recording(CaptureFiles &files, std::size_t limit = kQueueLimit);
	/* Writes the queue, but no end mark, unless the recording was finished. */
	~Recording();

	/*
	 * Returns whether the queue takes @bytes of records. The room only grows until the next
	 * push(). Throws the Failure of the thread if a write failed.
	 */
	bool has_room(std::size_t bytes);
	/* Queues @delivery without waiting for the file, even if the queue has no room. */
	void push(Delivery &&delivery);
	/* Writes the queue and @last, and ends the capture. */
	void finish(Delivery &&last);

	/* The records in blocks that were written. */
	std::uint64_t written() const { return written_; }

private:
	enum class End { kNone, kAbandon, kFinish };

	void run();
	void write_queue();
	void write(const Delivery &delivery);
	void wait(std::unique_lock<std::mutex> &lock);
	void rethrow_failure();
	void stop(End end);

	CaptureFiles &files_;
	const std::size_t limit_;
	const std::size_t batch_;
	std::mutex mutex_;
	std::condition_variable changed_;
	/* Locking: mutex_ */
	std::deque<Delivery> queue_;
	std::size_t queued_bytes_ = 0; /* including the delivery that is being written */
	End end_ = End::kNone;
	std::exception_ptr failure_;

	std::atomic<std::uint64_t> written_ = 0;
	std::thread thread_;
};

} // namespace zemctl

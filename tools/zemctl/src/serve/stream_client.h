/* SPDX-License-Identifier: GPL-2.0 */
/*
 * A program that reads the stream of records: a queue of limited size, and a thread that writes the
 * queue to the program as a capture. Only this thread waits for the program.
 */
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "base/file_descriptor.h"
#include "records/capture_writer.h"

namespace zemctl {

/* Whole records back to back. All clients share a batch. */
struct RecordBatch {
	std::vector<std::byte> records;
	std::uint64_t count = 0;
};

using SharedBatch = std::shared_ptr<const RecordBatch>;

/* What streams have beside the records. Context: called by the threads of all clients. */
struct StreamMarks {
	std::function<void(CaptureWriter &)> preamble;
	std::function<Moment()> moment;
};

class StreamClient {
public:
	/* The bytes that may wait for a client. */
	static constexpr std::size_t kQueueLimit = std::size_t{4} << 20;
	/* The largest time between two marks with the clocks and the module's counters. */
	static constexpr auto kMomentInterval = std::chrono::minutes(1);

	/* @losses are those before the stream, which it does not have. */
	StreamClient(FileDescriptor socket, const StreamMarks &marks, const Losses &losses,
		     std::size_t queue_limit = kQueueLimit);
	/* Ends the stream where it is. */
	~StreamClient();

	/*
	 * Queues @batch, which may be null, and the losses of the server so far. Never waits for
	 * the program: what has no room is dropped, and a gap mark says how much.
	 */
	void push(const SharedBatch &batch, const Losses &losses);
	/* Ends the stream with an end mark after everything in the queue. */
	void finish();
	/* Returns whether the thread needs no more time. */
	bool has_ended() const { return ended_; }

	/* For poll(): POLLHUP means that the program has gone. */
	int fd() const { return socket_.get(); }
	void cancel();

	std::uint64_t dropped_records() const;

private:
	struct Entry {
		SharedBatch batch;
		Losses losses; /* at the end of the batch */
	};

	Losses all_losses() const;
	void queue(SharedBatch batch);
	void run();
	void write_stream();
	/* Returns nothing at the end, and an empty entry if it is time for a mark. */
	std::optional<Entry> next(CaptureWriter &writer);
	void write(CaptureWriter &writer, const Entry &entry);
	void write_moment(CaptureWriter &writer);

	FileDescriptor socket_;
	const StreamMarks &marks_;
	const Losses before_;
	const std::size_t limit_;

	mutable std::mutex mutex_;
	std::condition_variable changed_;
	/* Locking: mutex_ */
	std::deque<Entry> queue_;
	std::size_t queued_bytes_ = 0;
	Losses server_; /* of the server */
	Losses own_; /* of this client: batches that were dropped */
	bool dropping_ = false;
	bool finishing_ = false;
	bool cancelled_ = false;

	/* Context: the thread */
	std::uint64_t marked_gaps_;
	std::chrono::steady_clock::time_point last_moment_;

	std::atomic<bool> ended_ = false;
	std::thread thread_;
};

} // namespace zemctl

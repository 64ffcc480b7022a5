/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Passes the records of a session to the metrics and to all clients. The thread of the session
 * delivers and never waits for a client; another thread adds and removes clients, and reads the
 * metrics.
 */
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "kernel/reader.h"
#include "metrics/model.h"
#include "serve/stream_client.h"

namespace zemctl {

/* What the server itself counts, beside the clients. */
struct ServerCounts {
	std::uint64_t requests_answered = 0; /* 200 */
	std::uint64_t requests_refused = 0; /* all other codes */
};

class Hub {
public:
	static constexpr std::size_t kClients = 16;

	/* @start is the present time, in ns since the epoch. */
	Hub(StreamMarks marks, std::uint64_t start,
	    std::size_t queue_limit = StreamClient::kQueueLimit)
		: marks_(std::move(marks)), start_(start), queue_limit_(queue_limit), model_(start)
	{
	}

	/* Context: the thread of the session */
	void deliver(const Arrival &arrival);
	void note_kernel_loss(std::uint64_t records);
	void set_module_counters(const ModuleCounters &counters);

	/* Starts a stream. Closes @socket if there are too many clients. */
	void add_client(FileDescriptor socket);
	/* Returns the descriptors of the clients, for poll(). */
	std::vector<int> client_fds() const;
	/* Ends the stream of the client with the descriptor @fd. */
	void remove_client(int fd);
	/* Forgets the clients whose streams have ended. */
	void reap();
	/* Lets all streams end in order, but not for longer than @time. */
	void finish(std::chrono::nanoseconds time);

	/* Returns the metrics as text. */
	std::string metrics(MetricDialect dialect, const ServerCounts &counts) const;

private:
	using Clients = std::vector<std::unique_ptr<StreamClient>>;

	void push(const SharedBatch &batch);
	template <typename Condition>
	Clients take_clients(const Condition &condition);
	void write_server(MetricWriter &writer, const ServerCounts &counts) const;
	std::uint64_t dropped_records() const;

	StreamMarks marks_;
	std::uint64_t start_;
	std::size_t queue_limit_;

	mutable std::mutex mutex_;
	/* Locking: mutex_ */
	MetricsModel model_;
	Losses losses_;
	std::uint64_t reader_gaps_ = 0;
	Clients clients_;
	std::uint64_t refused_clients_ = 0;
	std::uint64_t dropped_before_ = 0; /* by clients that have gone */
};

} // namespace zemctl

/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Receives the records of a session and passes them to a recording: selects channels, limits their
 * number, and accounts for losses of every kind.
 */
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>

#include "commands/summary.h"
#include "kernel/reader.h"
#include "records/channels.h"
#include "records/recording.h"

namespace zemctl {

struct RecordSinkOptions {
	ChannelSet channels = 0;
	std::optional<std::uint64_t> records;
	std::size_t queue_limit = Recording::kQueueLimit;
};

class RecordSink {
public:
	using Clock = std::chrono::steady_clock;

	/* It is a failure if the reader of the output closes it before the end. */
	static constexpr bool kNeedsReader = true;
	/* The largest time between two marks with the clocks and the module's counters. */
	static constexpr auto kMomentInterval = std::chrono::minutes(1);

	RecordSink(CaptureFiles &files, const RecordSinkOptions &options,
		   std::function<Moment()> moment)
		: files_(files), recording_(files, options.queue_limit), options_(options),
		  moment_(std::move(moment))
	{
	}

	/* Throws the Failure of an earlier write: the file has no end mark then. */
	bool deliver(const Arrival &arrival);
	void note_kernel_loss(std::uint64_t records);
	/* Called for records that a server dropped because this process read too slowly. */
	void note_dropped(std::uint64_t records);
	void finish();

	int fd() const { return files_.pipe_fd(); }
	std::string name() const { return files_.name(); }
	Kept kept() const;

private:
	bool is_full() const { return options_.records && taken_ >= *options_.records; }
	Losses losses() const;
	void push(std::vector<std::byte> &&records, std::uint64_t count);
	void push_marks();

	CaptureFiles &files_;
	Recording recording_;
	RecordSinkOptions options_;
	std::function<Moment()> moment_;
	Clock::time_point last_moment_ = Clock::now();
	std::uint64_t left_out_ = 0;
	std::uint64_t taken_ = 0; /* all others, dropped ones included */
	std::uint64_t reader_gaps_ = 0;
	Losses losses_; /* gaps: without those of the reader */
	Losses marked_losses_; /* of the last marks that were queued */
	bool dropping_ = false;
};

} // namespace zemctl

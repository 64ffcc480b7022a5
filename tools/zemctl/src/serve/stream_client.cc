// SPDX-License-Identifier: GPL-2.0
/*
 * A program that reads the stream of records.
 */
#include "serve/stream_client.h"

#include <utility>

#include <sys/socket.h>

#include "base/errors.h"
#include "records/walk.h"
#include "text/output.h"

namespace zemctl {

namespace {
using StreamClock = std::chrono::steady_clock;
}

StreamClient::StreamClient(FileDescriptor socket, const StreamMarks &marks, const Losses &losses,
			   std::size_t queue_limit)
	: socket_(std::move(socket)), marks_(marks), before_(losses), limit_(queue_limit),
	  server_(losses), marked_gaps_(losses.gaps), last_moment_(StreamClock::now()),
	  thread_([this] { run(); })
{
}

StreamClient::~StreamClient()
{
	cancel();
	thread_.join();
}

/* Locking: the caller holds mutex_. */
Losses StreamClient::all_losses() const
{
	Losses all = server_;
	all.gaps += own_.gaps;
	all.dropped_records += own_.dropped_records;
	all.dropped_bytes += own_.dropped_bytes;
	return all;
}

/* Locking: the caller holds mutex_. */
void StreamClient::queue(SharedBatch batch)
{
	queued_bytes_ += sizeof(Entry) + (batch ? batch->records.size() : 0);
	queue_.push_back({std::move(batch), all_losses()});
	changed_.notify_one();
}

/*
 * While batches are dropped, the queue gets no marks either: the mark is where the missing records
 * would be, with their number.
 */
void StreamClient::push(const SharedBatch &batch, const Losses &losses)
{
	const std::scoped_lock lock(mutex_);
	if (ended_ || finishing_)
		return;
	const std::size_t size = batch ? batch->records.size() : 0;
	if (queued_bytes_ + size + 2 * sizeof(Entry) > limit_) {
		server_ = losses;
		if (!batch)
			return;
		own_.dropped_records += batch->count;
		own_.dropped_bytes += size;
		own_.gaps += dropping_ ? 0 : 1;
		dropping_ = true;
		return;
	}
	if (std::exchange(dropping_, false))
		queue(nullptr);
	server_ = losses;
	queue(batch);
}

void StreamClient::finish()
{
	const std::scoped_lock lock(mutex_);
	finishing_ = true;
	changed_.notify_one();
}

void StreamClient::cancel()
{
	const std::scoped_lock lock(mutex_);
	cancelled_ = true;
	changed_.notify_one();
	/* A write that waits for the program fails. */
	::shutdown(socket_.get(), SHUT_RDWR);
}

std::uint64_t StreamClient::dropped_records() const
{
	const std::scoped_lock lock(mutex_);
	return own_.dropped_records;
}

/* Context: the thread, as all below. */
void StreamClient::run()
{
	try {
		write_stream();
	} catch (const BrokenPipe &) {
		/* The program has gone. */
	} catch (const Failure &) {
		/* The connection is broken. */
	}
	ended_ = true;
	::shutdown(socket_.get(), SHUT_RDWR);
	const std::scoped_lock lock(mutex_);
	queue_.clear();
	queued_bytes_ = 0;
}

void StreamClient::write_stream()
{
	Output output(socket_.get(), "a client");
	CaptureWriter writer(output, BlockCompression::kNone, before_);
	marks_.preamble(writer);
	writer.end_block();
	while (const auto entry = next(writer))
		write(writer, *entry);
	std::unique_lock lock(mutex_);
	const bool is_wanted = !cancelled_;
	const Losses losses = all_losses();
	lock.unlock();
	if (!is_wanted)
		return;
	write(writer, {nullptr, losses});
	write_moment(writer);
	writer.finish();
}

/* Writes the block that was begun before it waits. */
std::optional<StreamClient::Entry> StreamClient::next(CaptureWriter &writer)
{
	const auto has_work = [this] {
		return !queue_.empty() || finishing_ || cancelled_;
	};
	std::unique_lock lock(mutex_);
	/* The queue has room again: what is dropped from now on is another gap. */
	if (queue_.empty() && all_losses().gaps != marked_gaps_ && !cancelled_) {
		dropping_ = false;
		return Entry{nullptr, all_losses()};
	}
	if (!has_work()) {
		lock.unlock();
		writer.end_block();
		lock.lock();
		changed_.wait_until(lock, last_moment_ + kMomentInterval, has_work);
	}
	if (cancelled_ || (queue_.empty() && finishing_))
		return std::nullopt;
	if (queue_.empty())
		return Entry{nullptr, all_losses()};
	Entry entry = std::move(queue_.front());
	queue_.pop_front();
	queued_bytes_ -= sizeof(Entry) + (entry.batch ? entry.batch->records.size() : 0);
	return entry;
}

void StreamClient::write(CaptureWriter &writer, const Entry &entry)
{
	if (entry.batch) {
		Walk walk(entry.batch->records);
		while (const auto record = walk.next())
			writer.write(*record);
	}
	if (entry.losses.gaps != marked_gaps_ ||
	    StreamClock::now() - last_moment_ >= kMomentInterval)
		write_moment(writer);
	marked_gaps_ = entry.losses.gaps;
	writer.note_losses(entry.losses);
}

void StreamClient::write_moment(CaptureWriter &writer)
{
	last_moment_ = StreamClock::now();
	writer.write_moment(marks_.moment());
}

} // namespace zemctl

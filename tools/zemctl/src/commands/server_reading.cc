// SPDX-License-Identifier: GPL-2.0
/*
 * Reads the stream of zemctl serve.
 */
#include "commands/server_reading.h"

#include <algorithm>
#include <array>
#include <cerrno>

#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>

#include "records/walk.h"

namespace zemctl {

namespace {

constexpr std::size_t kBatchMax = std::size_t{64} * 1024;
/* The server writes whole blocks, so the rest of one that has begun follows soon. */
constexpr timeval kBlockTimeout = {.tv_sec = 10, .tv_usec = 0};

} // namespace

ServerStream::ServerStream(FileDescriptor socket, const std::string &name)
	: socket_(std::move(socket)), name_(name)
{
	::setsockopt(socket_.get(), SOL_SOCKET, SO_RCVTIMEO, &kBlockTimeout, sizeof(kBlockTimeout));
	std::byte first;
	if (::recv(socket_.get(), &first, sizeof(first), MSG_PEEK) == 0)
		throw Failure(fmt::format("{}: zemctl serve has too many clients", name_));
	reader_ = std::make_unique<CaptureReader>(socket_.get(), name_);
}

ServerStream::Event ServerStream::wait_for_bytes(std::chrono::nanoseconds time,
						 const StopSignal &stop, int output_fd) const
{
	std::array<pollfd, 3> set = {{{socket_.get(), POLLIN, 0},
				      {stop.fd(), POLLIN, 0},
				      /* no events: a pipe always reports that its reader is gone */
				      {output_fd, 0, 0}}};
	const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
	const timespec timeout = {static_cast<time_t>(seconds.count()),
				  static_cast<long>((time - seconds).count())};
	if (::ppoll(set.data(), set.size(), &timeout, nullptr) < 0 && errno != EINTR)
		throw system_failure(name_, errno);
	if (set[1].revents != 0)
		return Event::kStopped;
	if ((set[2].revents & POLLERR) != 0)
		throw BrokenPipe{};
	return set[0].revents != 0 ? Event::kRecords : Event::kTimeout;
}

ServerStream::Event ServerStream::wait(std::chrono::nanoseconds time, const StopSignal &stop,
				       int output_fd)
{
	if (reader_->at_end_of_buffer()) {
		const Event event = wait_for_bytes(time, stop, output_fd);
		if (event != Event::kRecords)
			return event;
	}
	Event event = Event::kRecords;
	do {
		const auto item = reader_->next();
		if (!item && !reader_->is_finished())
			throw Failure(
				fmt::format("{}: the connection to zemctl serve is lost", name_));
		if (!item)
			event = Event::kEnd;
		else if (const Record *record = std::get_if<Record>(&*item))
			add(*record);
		else if (const Mark *mark = std::get_if<Mark>(&*item))
			event = note(*mark) ? Event::kGap : event;
		else
			throw Failure(fmt::format("{}: the stream is damaged", name_));
	} while (event == Event::kRecords && bytes_.size() < kBatchMax &&
		 !reader_->at_end_of_buffer());
	find_records();
	return event;
}

void ServerStream::add(const Record &record)
{
	bytes_.insert(bytes_.end(), record.whole.begin(), record.whole.end());
	counters_.count(record);
}

/* The addresses of the records are fixed when no more are added. */
void ServerStream::find_records()
{
	Walk walk(bytes_);
	while (const auto record = walk.next())
		records_.push_back(*record);
}

void ServerStream::clear()
{
	bytes_.clear();
	records_.clear();
	notes_.clear();
}

/* Return: whether records are missing. */
bool ServerStream::note(const Mark &mark)
{
	if (mark.kind != MarkKind::kGap && mark.kind != MarkKind::kEnd)
		return false;
	const CaptureTotals growth = growth_of(mark.totals(), totals_);
	totals_ = mark.totals();
	kernel_lost_ = growth.kernel_lost;
	dropped_ = growth.dropped_records;
	if (growth.gaps == 0)
		return false;
	if (kernel_lost_ > 0)
		notes_.push_back(fmt::format("records lost in the kernel: {}", kernel_lost_));
	if (dropped_ > 0)
		notes_.push_back(fmt::format("gap: zemctl serve dropped {} records because this "
					     "program read too slowly",
					     dropped_));
	const std::uint64_t lost = growth.lost_bytes;
	if (lost > 0 || (kernel_lost_ == 0 && dropped_ == 0)) {
		counters_.gaps++;
		counters_.lost_bytes += lost;
		notes_.push_back(lost > 0 ? fmt::format("gap: {} bytes are lost", lost) :
					    "gap: records may be missing");
	}
	return true;
}

} // namespace zemctl

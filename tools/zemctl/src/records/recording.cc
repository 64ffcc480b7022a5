// SPDX-License-Identifier: GPL-2.0
/*
 * Writes a recording in a second thread.
 */
#include "records/recording.h"

#include <algorithm>
#include <utility>

#include "records/walk.h"

namespace zemctl {

namespace {

std::size_t size_of(const Delivery &delivery)
{
	return delivery.records.size() + sizeof(delivery);
}

} // namespace

Recording::Recording(CaptureFiles &files, std::size_t limit)
	: files_(files), limit_(limit), batch_(std::min(kBatchSize, limit / 2)),
	  thread_([this] { run(); })
{
}

Recording::~Recording()
{
	if (thread_.joinable())
		stop(End::kAbandon);
}

bool Recording::has_room(std::size_t bytes)
{
	const std::scoped_lock lock(mutex_);
	rethrow_failure();
	return queued_bytes_ + bytes + sizeof(Delivery) <= limit_;
}

void Recording::push(Delivery &&delivery)
{
	const std::scoped_lock lock(mutex_);
	const bool is_first = queue_.empty();
	queued_bytes_ += size_of(delivery);
	queue_.push_back(std::move(delivery));
	if (is_first || queued_bytes_ >= batch_)
		changed_.notify_one();
}

void Recording::finish(Delivery &&last)
{
	push(std::move(last));
	stop(End::kFinish);
	const std::scoped_lock lock(mutex_);
	rethrow_failure();
}

void Recording::stop(End end)
{
	{
		const std::scoped_lock lock(mutex_);
		end_ = end;
		changed_.notify_one();
	}
	thread_.join();
}

/* Locking: the caller holds mutex_. */
void Recording::rethrow_failure()
{
	if (failure_)
		std::rethrow_exception(failure_);
}

/* Context: the thread, as all below. */
void Recording::run()
{
	try {
		write_queue();
	} catch (...) {
		const std::scoped_lock lock(mutex_);
		failure_ = std::current_exception();
	}
}

void Recording::write_queue()
{
	std::unique_lock lock(mutex_);
	for (;;) {
		if (!queue_.empty()) {
			const Delivery delivery = std::move(queue_.front());
			queue_.pop_front();
			lock.unlock();
			write(delivery);
			lock.lock();
			/* Until here the bytes take memory. */
			queued_bytes_ -= size_of(delivery);
		} else if (end_ == End::kNone) {
			wait(lock);
		} else {
			break;
		}
	}
	const End end = end_;
	lock.unlock();
	if (end == End::kFinish)
		files_.finish();
	else
		files_.abandon();
	written_ = files_.records_written();
}

void Recording::write(const Delivery &delivery)
{
	if (delivery.records.size() <= CaptureWriter::kBlockSize) {
		if (delivery.count > 0)
			files_.write(delivery.records, delivery.count);
	} else {
		Walk walk(delivery.records);
		while (const auto record = walk.next())
			files_.write(*record);
	}
	files_.note(delivery.moment, delivery.losses);
	written_ = files_.records_written();
}

/* Waits for a batch, for the time of settle(), or for the end. */
void Recording::wait(std::unique_lock<std::mutex> &lock)
{
	lock.unlock();
	files_.settle();
	written_ = files_.records_written();
	const auto deadline = files_.deadline();
	lock.lock();
	const auto has_some = [this] {
		return !queue_.empty() || end_ != End::kNone;
	};
	const auto has_batch = [this] {
		return queued_bytes_ >= batch_ || end_ != End::kNone;
	};
	if (!deadline)
		changed_.wait(lock, has_some);
	else if (!changed_.wait_until(lock, *deadline, has_some))
		return;
	changed_.wait_for(lock, kHoldTime, has_batch);
}

} // namespace zemctl

/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Simulates the kernel side of the reading protocol: a buffer, a consumer that appends and waits, a
 * clock that moves only while the session waits, and hooks for what a test does at a given moment.
 */
#pragma once

#include <algorithm>
#include <chrono>
#include <cstring>
#include <deque>
#include <functional>

#include "kernel/session.h"
#include "made_records.h"

namespace zemctl {

class FakeKernel {
public:
	using Hook = std::function<void()>;

	/* The consumer. */
	void append(const ByteVector &record)
	{
		std::ranges::copy(record, buffer.begin() + static_cast<long>(used));
		used += record.size();
	}
	void notify() { notified = true; }
	/* Appends @record if it fits. Otherwise notifies and keeps it until the hand-back. */
	void append_or_wait(const ByteVector &record)
	{
		if (!waiting.empty() || used + record.size() >= buffer.size()) {
			waiting.push_back(record);
			notify();
			return;
		}
		append(record);
		if (used > ZEM_NOTIFY_LEVEL)
			notify();
	}
	std::uint32_t empty_buffer()
	{
		const auto bytes = static_cast<std::uint32_t>(used);
		buffer.fill(std::byte{0});
		used = 0;
		return bytes;
	}

	/* The interface for the session. */
	Clock::time_point now() const { return time; }
	Wake wait(std::chrono::nanoseconds timeout)
	{
		waits++;
		if (!on_wait.empty()) {
			const Hook hook = on_wait.front();
			on_wait.pop_front();
			hook();
		} else if (!stop_when_idle) {
			ADD_FAILURE() << "the session waits on although its script has ended";
			return Wake::kStopped;
		} else {
			stopped = true;
		}
		if (stopped)
			return Wake::kStopped;
		if (notified)
			return Wake::kNotified;
		time += timeout;
		if (after_quiet)
			after_quiet();
		return Wake::kQuiet;
	}
	bool is_notified()
	{
		if (before_check)
			before_check();
		return notified;
	}
	void pause(std::chrono::nanoseconds length)
	{
		time += length;
		if (on_pause)
			on_pause();
	}
	void copy_buffer(Snapshot &look)
	{
		looks++;
		if (before_look)
			before_look();
		look.bytes = buffer;
		if (after_look)
			after_look();
	}
	std::uint32_t hand_back()
	{
		if (before_hand_back)
			before_hand_back();
		notified = false;
		const std::uint32_t bytes = empty_buffer();
		hand_backs++;
		std::deque<ByteVector> records;
		records.swap(waiting);
		for (const ByteVector &record : records)
			append_or_wait(record);
		if (after_hand_back)
			after_hand_back();
		return bytes;
	}

	std::array<std::byte, ZEM_SHARED_SIZE> buffer{};
	std::size_t used = 0;
	std::deque<ByteVector> waiting;
	bool notified = false;
	bool stopped = false;
	bool stop_when_idle = true;
	Clock::time_point time{std::chrono::seconds(1000)};
	int waits = 0, looks = 0, hand_backs = 0;

	std::deque<Hook> on_wait; /* one for each wait, in order; after the last one the user stops
				     the session */
	Hook before_check; /* runs when the session asks if there is a notification */
	Hook on_pause, before_look, after_look, before_hand_back, after_hand_back;
	/* Runs after a wait without an event, as if the process were stopped at that point. */
	Hook after_quiet;
};

} // namespace zemctl

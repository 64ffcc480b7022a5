/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The reading cycle: decides when to look, when to hand the buffer back and when to stop. The
 * kernel side and the receiver of the records are template arguments, so that a test can run every
 * interleaving with its own clock.
 */
#pragma once

#include <algorithm>
#include <chrono>
#include <concepts>
#include <cstdint>
#include <optional>

#include "kernel/reader.h"

namespace zemctl {

using Clock = std::chrono::steady_clock;

enum class Wake {
	kNotified, /* the kernel asks for the buffer to be read */
	kQuiet, /* nothing happened during the wait */
	kStopped, /* the user asks for the end */
};

template <typename T>
concept KernelSide = requires(T kernel, Snapshot &look, std::chrono::nanoseconds time) {
	{ kernel.now() } -> std::same_as<Clock::time_point>;
	/* Waits for a notification, but not longer than @time. */
	{ kernel.wait(time) } -> std::same_as<Wake>;
	/* Return: whether wait() would return kNotified now. */
	{ kernel.is_notified() } -> std::same_as<bool>;
	/* Waits for @time regardless of notifications. */
	kernel.pause(time);
	kernel.copy_buffer(look);
	/* Empties the buffer. Return: the number of bytes that it held. */
	{ kernel.hand_back() } -> std::same_as<std::uint32_t>;
};

template <typename T>
concept Receiver = requires(T receiver, const Reader &reader) {
	/* Takes reader.records() and reader.notes(). Return: false if it needs no more records. */
	{ receiver.deliver(reader) } -> std::same_as<bool>;
};

struct SessionOptions {
	std::optional<std::chrono::nanoseconds> duration;
	/* The time between two looks without a notification. */
	std::chrono::nanoseconds look_interval = std::chrono::milliseconds(50);
};

template <KernelSide Kernel, Receiver Sink>
class Session {
public:
	Session(Kernel &kernel, Reader &reader, Sink &sink, const SessionOptions &options)
		: kernel_(kernel), reader_(reader), sink_(sink), options_(options),
		  start_(kernel.now())
	{
	}

	void run()
	{
		sweep();
		while (!stopped_ && !enough_ && time_left() > std::chrono::nanoseconds::zero()) {
			const Clock::time_point before = kernel_.now();
			switch (kernel_.wait(std::min(options_.look_interval, time_left()))) {
			case Wake::kNotified:
				on_notification();
				break;
			case Wake::kQuiet:
				/* Not the present time: this process may have been stopped after
				 * the wait. */
				last_certain_ = before;
				on_quiet();
				break;
			case Wake::kStopped:
				stopped_ = true;
				break;
			}
		}
		finish();
	}

	std::chrono::nanoseconds elapsed() { return kernel_.now() - start_; }

private:
	/* The time between two looks of settle(), and the limit of its tries. */
	static constexpr auto kSettleTime = std::chrono::milliseconds(5);
	static constexpr int kSettleTries = 20;
	/* With kSettleTries they take two seconds. */
	static constexpr int kFinishTries = 20;
	/* The time that the consumer waits after a notification. */
	static constexpr auto kConsumerTimeout = std::chrono::seconds(5);
	/* One second less: a look and its hand-back take time. */
	static constexpr auto kConsumerWaits = std::chrono::seconds(4);

	std::chrono::nanoseconds time_left()
	{
		if (!options_.duration)
			return std::chrono::nanoseconds::max();
		return *options_.duration - elapsed();
	}

	void look() { kernel_.copy_buffer(reader_.next_look()); }

	/*
	 * Looks until two looks are equal, then takes everything. If the looks never become equal,
	 * the consumer is filling the buffer: then takes only the records on which two looks agree.
	 * Return: whether everything was taken.
	 */
	bool settle()
	{
		look();
		for (int tries = 0; tries < kSettleTries; tries++) {
			kernel_.pause(kSettleTime);
			look();
			if (reader_.looks_agree()) {
				reader_.take_all();
				return true;
			}
		}
		reader_.take_agreed();
		return false;
	}

	/*
	 * A notification during the hand-back is answered by it, but poll() would report it as new.
	 * There was none if the consumer waited during the whole hand-back.
	 */
	void hand_back()
	{
		reader_.handed_back(kernel_.hand_back());
		if (last_certain_ && kernel_.now() - *last_certain_ < kConsumerTimeout)
			last_certain_ = kernel_.now();
		else
			become_certain();
		deliver();
	}

	void deliver()
	{
		if (!sink_.deliver(reader_))
			enough_ = true;
		reader_.clear();
	}

	/*
	 * Takes the records that an earlier reader left. The hand-back also arms the notification:
	 * poll() on a file that was just opened reports one. If the buffer keeps changing, the
	 * hand-back is left to a later notification or to finish().
	 */
	void sweep()
	{
		if (settle())
			hand_back();
		else
			deliver();
	}

	/*
	 * Returns whether the consumer is certain to wait for the hand-back. It is if the
	 * notification is younger than the consumer's timeout. A notification from before the end
	 * of a hand-back, or from a time when this process was stopped, is stale: the consumer may
	 * be copying again.
	 */
	bool consumer_waits()
	{
		return last_certain_ && kernel_.now() - *last_certain_ < kConsumerWaits;
	}

	void on_notification()
	{
		if (consumer_waits()) {
			look();
			reader_.take_all();
		} else if (!settle()) {
			/*
			 * Without a hand-back the next wait returns immediately. After some rounds
			 * the consumer waits.
			 */
			deliver();
			return;
		}
		reader_.count_notification();
		hand_back();
	}

	/*
	 * If there is no notification now, the next one is from after the hand-back, and the
	 * consumer waits. Under a flood there may be no wait without a notification for minutes.
	 */
	void become_certain()
	{
		/* Not the time afterwards, as in run(). */
		last_certain_ = kernel_.now();
		if (kernel_.is_notified())
			last_certain_.reset();
	}

	/*
	 * The consumer may be writing. The last wait before the end may be short, so that two looks
	 * would be too close to each other: finish() then takes the remaining records.
	 */
	void on_quiet()
	{
		if (time_left() <= std::chrono::nanoseconds::zero())
			return;
		look();
		reader_.take_agreed();
		deliver();
	}

	/*
	 * Hands back the records that were taken, so that the next reader does not see them again.
	 * Does not hand back an empty buffer: the hand-back could only lose records that arrive
	 * meanwhile. Does not hand back a buffer that keeps changing: it is soon full, and then the
	 * consumer waits.
	 */
	void finish()
	{
		if (enough_ && reader_.taken() == 0)
			return;
		for (int tries = 0; tries < kFinishTries; tries++) {
			if (settle()) {
				if (reader_.taken() > 0)
					hand_back();
				else
					deliver();
				return;
			}
			deliver();
		}
	}

	Kernel &kernel_;
	Reader &reader_;
	Sink &sink_;
	SessionOptions options_;
	Clock::time_point start_;
	std::optional<Clock::time_point> last_certain_;
	bool stopped_ = false;
	bool enough_ = false;
};

} // namespace zemctl

/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The reading cycle: when to look, when to hand the buffer back, when to stop. A template over
 * the kernel's side and over the receiver of the records, so that every interleaving can be
 * played through in a test, with a clock of its own.
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
	kNotified, /* the kernel wants the buffer collected */
	kQuiet, /* nothing happened for the time given */
	kStopped, /* the user wants an end */
};

template <typename T>
concept KernelSide = requires(T kernel, Snapshot &look, std::chrono::nanoseconds time) {
	{ kernel.now() } -> std::same_as<Clock::time_point>;
	/* Waits for a notification, @time at most. */
	{ kernel.wait(time) } -> std::same_as<Wake>;
	/* Lets @time pass, whatever happens. */
	kernel.pause(time);
	kernel.copy_buffer(look);
	/* Empties the buffer; the bytes that it held. */
	{ kernel.hand_back() } -> std::same_as<std::uint32_t>;
};

template <typename T>
concept Receiver = requires(T receiver, const Reader &reader) {
	/* Takes reader.records() and reader.notes(); false when it wants no more. */
	{ receiver.deliver(reader) } -> std::same_as<bool>;
};

struct SessionOptions {
	std::optional<std::chrono::nanoseconds> duration;
	/* Between two looks while no notification comes. */
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
				/* Not the time now: this process may have been stopped since. */
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
	/* Two looks so far apart, and no more than so many tries. */
	static constexpr auto kSettleTime = std::chrono::milliseconds(5);
	static constexpr int kSettleTries = 20;
	/* Two seconds for the end. */
	static constexpr int kFinishTries = 20;
	/* For so long the consumer waits after a notification. */
	static constexpr auto kConsumerPatience = std::chrono::seconds(5);
	/* A second less is left to a look. */
	static constexpr auto kConsumerWaits = std::chrono::seconds(4);

	std::chrono::nanoseconds time_left()
	{
		if (!options_.duration)
			return std::chrono::nanoseconds::max();
		return *options_.duration - elapsed();
	}

	void look() { kernel_.copy_buffer(reader_.next_look()); }

	/*
	 * Looks until the buffer holds still, then takes everything. A buffer that does not is
	 * one that the consumer is filling: then only what is agreed on is taken.
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

	void hand_back()
	{
		reader_.handed_back(kernel_.hand_back());
		deliver();
	}

	void deliver()
	{
		if (!sink_.deliver(reader_))
			enough_ = true;
		reader_.clear();
	}

	/*
	 * What an earlier reader left. The read arms the notification too: a file just opened
	 * polls as if notified. While the buffer does not hold still, that stays for later.
	 */
	void sweep()
	{
		if (settle())
			hand_back();
		else
			deliver();
	}

	/*
	 * Is the consumer certain to be waiting for us? Yes, if the notification is younger than
	 * the consumer's patience. A notification that came during a hand-back, or long ago while
	 * this process was stopped, is stale: the consumer may be at work again.
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
			 * No hand-back, so the next wait returns at once, and finds the consumer
			 * waiting in the end.
			 */
			deliver();
			return;
		}
		reader_.count_notification();
		hand_back();
		/*
		 * A notification that came during the hand-back was answered by it, and would look
		 * new. None came if the consumer was waiting all the time.
		 */
		if (last_certain_ && kernel_.now() - *last_certain_ < kConsumerPatience)
			last_certain_ = kernel_.now();
		else
			last_certain_.reset();
	}

	/*
	 * The buffer is live. The last wait before the end may be short, which would bring two
	 * looks too close to each other; finish() takes care of what is left then.
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
	 * What was taken is handed back, so that the next reader does not see it again. An empty
	 * buffer is not: that could only lose what arrives just then. Nor is one that never holds
	 * still, but a stream that fast fills the buffer soon, and then the consumer waits.
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

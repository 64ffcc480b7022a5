/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Two simulated kernels for the reading protocol, controlled by a script of bytes. The session is
 * stopped at the end of the script.
 */
#pragma once

#include <array>
#include <chrono>
#include <optional>
#include <vector>

#include "kernel/session.h"
#include "targets.h"

namespace zemctl::fuzz {

class Script {
public:
	explicit Script(Input bytes) : rest_(bytes) {}

	bool has_ended() const { return rest_.empty(); }
	/* Returns the next byte; 0 after the end. */
	std::uint8_t next()
	{
		if (rest_.empty())
			return 0;
		const std::uint8_t byte = rest_.front();
		rest_ = rest_.subspan(1);
		return byte;
	}
	Input take(std::size_t size)
	{
		const Input bytes = rest_.first(std::min(size, rest_.size()));
		rest_ = rest_.subspan(bytes.size());
		return bytes;
	}

private:
	Input rest_;
};

/* Return: whether the record has the payload that the honest kernel gave to its number. */
bool is_intact(const Record &record);

/* The common part: a clock that the script advances, and a user who stops the session. */
class ScriptedKernel {
public:
	explicit ScriptedKernel(const Script &script) : script_(script) {}

	Clock::time_point now() const { return now_; }

protected:
	void pass(std::chrono::nanoseconds time) { now_ += time; }

	Script script_;
	std::array<std::byte, ZEM_SHARED_SIZE> buffer_{};
	Clock::time_point now_{std::chrono::hours(1)};
};

/*
 * Appends whole records, except that one look may see a half-copied newest record. Notifies, waits
 * for five seconds, and continues.
 */
class HonestKernel : public ScriptedKernel {
public:
	using ScriptedKernel::ScriptedKernel;

	Wake wait(std::chrono::nanoseconds time);
	bool is_notified();
	void pause(std::chrono::nanoseconds time);
	void copy_buffer(Snapshot &look);
	std::uint32_t hand_back();

	std::uint64_t handed_back() const { return handed_back_; }
	std::size_t used() const { return used_; }

private:
	void act();
	void append(std::size_t payload_size);
	bool consumer_waits();

	std::size_t used_ = 0;
	std::uint64_t handed_back_ = 0;
	std::uint64_t number_ = 0;
	std::vector<std::byte> waiting_; /* the record that did not fit */
	std::optional<Clock::time_point> notified_; /* start of the consumer's wait */
	bool is_poll_ready_ = true; /* true for a new file */
};

/* Arbitrary bytes in the buffer, arbitrary answers. */
class HostileKernel : public ScriptedKernel {
public:
	using ScriptedKernel::ScriptedKernel;

	Wake wait(std::chrono::nanoseconds time);
	bool is_notified() { return script_.next() % 2 == 0; }
	void pause(std::chrono::nanoseconds time) { pass(time); }
	void copy_buffer(Snapshot &look);
	std::uint32_t hand_back();

	std::uint64_t handed_back() const { return 0; }
	std::size_t used() const { return 0; }
};

} // namespace zemctl::fuzz

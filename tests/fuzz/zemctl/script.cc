// SPDX-License-Identifier: GPL-2.0
/* Two simulated kernels for the reading protocol, controlled by a script of bytes. */
#include "script.h"

#include <algorithm>
#include <cstring>

namespace zemctl::fuzz {

namespace {

using namespace std::chrono_literals;

constexpr auto kConsumerPatience = 5s;
/* Pauses of a session, as if its process was stopped. */
constexpr std::chrono::milliseconds kRests[] = {0ms,	1ms,	20ms,	500ms,
						3000ms, 4500ms, 6000ms, 60'000ms};

std::byte payload_byte(std::uint64_t number, std::size_t at)
{
	return static_cast<std::byte>(number + at);
}

} // namespace

bool is_intact(const Record &record)
{
	const Bytes payload = record.payload();
	for (std::size_t i = 0; i < payload.size(); i++)
		if (payload[i] != payload_byte(record.header.timestamp, i))
			return false;
	return true;
}

bool HonestKernel::consumer_waits()
{
	if (notified_ && now_ - *notified_ >= kConsumerPatience) {
		notified_.reset();
		waiting_.clear(); /* dropped */
	}
	return notified_.has_value();
}

void HonestKernel::append(std::size_t payload_size)
{
	number_++;
	std::vector<std::byte> bytes(ZEM_HEADER_SIZE + payload_size);
	zem_record_header header = {};
	header.timestamp = number_;
	header.channel = static_cast<std::uint8_t>(number_ % ZEM_CHANNEL_COUNT);
	header.len = static_cast<std::uint32_t>(payload_size);
	std::memcpy(bytes.data(), &header, sizeof(header));
	for (std::size_t i = 0; i < payload_size; i++)
		bytes[ZEM_HEADER_SIZE + i] = payload_byte(number_, i);
	if (used_ + bytes.size() >= ZEM_SHARED_SIZE) {
		waiting_ = bytes;
	} else {
		std::ranges::copy(bytes, buffer_.begin() + static_cast<std::ptrdiff_t>(used_));
		used_ += bytes.size();
	}
	if (!waiting_.empty() || used_ > ZEM_NOTIFY_LEVEL) {
		notified_ = now_;
		is_poll_ready_ = true;
	}
}

/* Runs one step of the consumer unless it waits. */
void HonestKernel::act()
{
	if (consumer_waits())
		return;
	const std::uint8_t size = script_.next();
	if (size == 0)
		return;
	append(size < 200 ? size : (size - 200U) * 100U);
}

Wake HonestKernel::wait(std::chrono::nanoseconds time)
{
	if (script_.has_ended())
		return Wake::kStopped;
	const std::uint8_t what = script_.next();
	for (int count = what % 4; count > 0; count--)
		act();
	pass(kRests[what / 4 % std::size(kRests)]);
	if (is_poll_ready_)
		return Wake::kNotified;
	/* A later notification is too late for this wait. */
	pass(time);
	if (what / 32 % 4 == 0) {
		act();
		pass(kRests[script_.next() % std::size(kRests)]);
	}
	return Wake::kQuiet;
}

/* The process may stop before and after its look, while the consumer works. */
bool HonestKernel::is_notified()
{
	const std::uint8_t what = script_.next();
	pass(kRests[what % std::size(kRests)]);
	for (int count = what / 8 % 4; count > 0; count--)
		act();
	const bool answer = is_poll_ready_;
	if (what / 32 % 2 == 0) {
		act();
		pass(kRests[script_.next() % std::size(kRests)]);
	}
	return answer;
}

void HonestKernel::pause(std::chrono::nanoseconds time)
{
	pass(time);
	act();
}

/* The newest record is being copied to the buffer during the look: its end is missing. */
void HonestKernel::copy_buffer(Snapshot &look)
{
	const std::size_t before = used_;
	if (script_.next() % 4 == 0)
		act();
	look.bytes = buffer_;
	if (used_ > before) {
		const std::size_t seen = before + script_.next() * (used_ - before) / 256;
		std::fill(look.bytes.begin() + static_cast<std::ptrdiff_t>(seen), look.bytes.end(),
			  std::byte{0});
	}
}

std::uint32_t HonestKernel::hand_back()
{
	is_poll_ready_ = false; /* poll reports the next notification again */
	pass(kRests[script_.next() % std::size(kRests)]);
	act();
	const auto bytes = static_cast<std::uint32_t>(used_);
	handed_back_ += used_;
	used_ = 0;
	buffer_.fill(std::byte{0});
	if (consumer_waits())
		notified_.reset();
	if (!waiting_.empty()) {
		std::ranges::copy(waiting_, buffer_.begin());
		used_ = waiting_.size();
		waiting_.clear();
	}
	return bytes;
}

Wake HostileKernel::wait(std::chrono::nanoseconds time)
{
	if (script_.has_ended())
		return Wake::kStopped;
	const std::uint8_t what = script_.next();
	pass(kRests[what / 4 % std::size(kRests)]);
	switch (what % 4) {
	case 0:
		return Wake::kStopped;
	case 1:
		return Wake::kNotified;
	default:
		pass(time);
		return Wake::kQuiet;
	}
}

/* Puts some bytes of the script anywhere, and repeats the last one in the rest or leaves it. */
void HostileKernel::copy_buffer(Snapshot &look)
{
	const std::size_t at = script_.next() * 32U;
	const Input bytes = script_.take(script_.next());
	for (std::size_t i = 0; i < bytes.size() && at + i < buffer_.size(); i++)
		buffer_[at + i] = static_cast<std::byte>(bytes[i]);
	if (script_.next() % 8 == 0)
		std::fill(buffer_.begin() + static_cast<std::ptrdiff_t>(at), buffer_.end(),
			  static_cast<std::byte>(script_.next()));
	look.bytes = buffer_;
}

std::uint32_t HostileKernel::hand_back()
{
	const std::uint32_t high = script_.next();
	const std::uint32_t low = script_.next();
	if (script_.next() % 2 == 0)
		buffer_.fill(std::byte{0});
	return high % 8 == 0 ? 0xffffffff : high % 64 * 128 + low;
}

} // namespace zemctl::fuzz

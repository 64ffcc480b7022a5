/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Random numbers that depend on one seed. Each session of each worker has its own generator, so its
 * calls depend only on the seed, never on the results of other sessions.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace fuzz {

class Random {
public:
	Random(std::uint64_t seed, std::uint64_t worker, std::uint64_t session)
		: state_(mix(mix(mix(seed) + worker) + session))
	{
	}

	std::uint64_t next()
	{
		state_ += kStep;
		return mix(state_);
	}

	/* Returns 0 to @bound - 1. */
	std::size_t below(std::size_t bound) { return next() % bound; }
	long between(long least, long most)
	{
		return least + static_cast<long>(below(static_cast<std::size_t>(most - least + 1)));
	}
	bool one_in(std::size_t count) { return below(count) == 0; }

	template <typename T, std::size_t size>
	const T &one_of(const T (&choices)[size])
	{
		return choices[below(size)];
	}

	void fill(std::span<char> bytes)
	{
		for (char &byte : bytes)
			byte = static_cast<char>(next());
	}

private:
	static constexpr std::uint64_t kStep = 0x9e3779b97f4a7c15;

	/* The finalizer of a 64-bit hash: each bit of the input changes half of the output. */
	static constexpr std::uint64_t mix(std::uint64_t value)
	{
		value = (value ^ (value >> 30)) * 0xbf58476d1ce4e5b9;
		value = (value ^ (value >> 27)) * 0x94d049bb133111eb;
		return value ^ (value >> 31);
	}

	std::uint64_t state_;
};

} // namespace fuzz

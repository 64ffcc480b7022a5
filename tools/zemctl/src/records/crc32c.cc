// SPDX-License-Identifier: GPL-2.0
/*
 * CRC-32C, eight bytes in one step: with the CPU's instruction, or with eight tables if it has
 * none. Debian 12 has no library for it.
 */
#include "records/crc32c.h"

#include <array>
#include <cstring>

#if defined(__x86_64__)
#include <nmmintrin.h>
#elif defined(__aarch64__)
#include <arm_acle.h>
#include <asm/hwcap.h>
#include <sys/auxv.h>
#endif

namespace zemctl {

namespace {

constexpr std::uint32_t kReflectedPolynomial = 0x82f63b78;
constexpr std::size_t kStep = 8;

/* Row n has the effect of a byte that n bytes follow. */
using Tables = std::array<std::array<std::uint32_t, 256>, kStep>;

constexpr Tables make_tables()
{
	Tables tables{};
	for (std::uint32_t byte = 0; byte < 256; byte++) {
		std::uint32_t value = byte;
		for (int bit = 0; bit < 8; bit++)
			value = (value & 1) != 0 ? kReflectedPolynomial ^ (value >> 1) : value >> 1;
		tables[0][byte] = value;
	}
	for (std::size_t row = 1; row < kStep; row++)
		for (std::size_t byte = 0; byte < 256; byte++) {
			const std::uint32_t before = tables[row - 1][byte];
			tables[row][byte] = tables[0][before & 0xff] ^ (before >> 8);
		}
	return tables;
}

constexpr Tables kTables = make_tables();

std::uint64_t word_at(const std::byte *bytes)
{
	std::uint64_t word;
	std::memcpy(&word, bytes, sizeof(word));
	return word;
}

std::uint32_t step_of_tables(std::uint32_t crc, std::uint64_t word)
{
	word ^= crc;
	std::uint32_t value = 0;
	for (std::size_t i = 0; i < kStep; i++)
		value ^= kTables[kStep - 1 - i][(word >> (8 * i)) & 0xff];
	return value;
}

#if defined(__x86_64__)
#define ZEMCTL_CRC_TARGET [[gnu::target("sse4.2")]]

bool cpu_has_instruction()
{
	return __builtin_cpu_supports("sse4.2") != 0;
}

ZEMCTL_CRC_TARGET std::uint32_t step_of_cpu(std::uint32_t crc, std::uint64_t word)
{
	return static_cast<std::uint32_t>(_mm_crc32_u64(crc, word));
}
#elif defined(__aarch64__)
#define ZEMCTL_CRC_TARGET [[gnu::target("+crc")]]

bool cpu_has_instruction()
{
	return (::getauxval(AT_HWCAP) & HWCAP_CRC32) != 0;
}

ZEMCTL_CRC_TARGET std::uint32_t step_of_cpu(std::uint32_t crc, std::uint64_t word)
{
	return __crc32cd(crc, word);
}
#else
#define ZEMCTL_CRC_TARGET

bool cpu_has_instruction()
{
	return false;
}

std::uint32_t step_of_cpu(std::uint32_t crc, std::uint64_t word)
{
	return step_of_tables(crc, word);
}
#endif

/* Takes whole words from @bytes. Four in a turn: the loop costs more than the instruction. */
ZEMCTL_CRC_TARGET std::uint32_t words_by_cpu(std::uint32_t crc, Bytes &bytes)
{
	const std::byte *at = bytes.data();
	const std::byte *const end = at + bytes.size() / (4 * kStep) * (4 * kStep);
	for (; at != end; at += 4 * kStep) {
		crc = step_of_cpu(crc, word_at(at));
		crc = step_of_cpu(crc, word_at(at + kStep));
		crc = step_of_cpu(crc, word_at(at + 2 * kStep));
		crc = step_of_cpu(crc, word_at(at + 3 * kStep));
	}
	bytes = bytes.subspan(static_cast<std::size_t>(at - bytes.data()));
	for (; bytes.size() >= kStep; bytes = bytes.subspan(kStep))
		crc = step_of_cpu(crc, word_at(bytes.data()));
	return crc;
}

std::uint32_t words_by_tables(std::uint32_t crc, Bytes &bytes)
{
	for (; bytes.size() >= kStep; bytes = bytes.subspan(kStep))
		crc = step_of_tables(crc, word_at(bytes.data()));
	return crc;
}

std::uint32_t crc_of(Bytes bytes, std::uint32_t before,
		     std::uint32_t (*words)(std::uint32_t, Bytes &))
{
	std::uint32_t crc = words(~before, bytes);
	for (const std::byte byte : bytes)
		crc = kTables[0][(crc ^ static_cast<std::uint32_t>(byte)) & 0xff] ^ (crc >> 8);
	return ~crc;
}

} // namespace

std::uint32_t crc32c(Bytes bytes, std::uint32_t before)
{
	static const bool has_instruction = cpu_has_instruction();
	return crc_of(bytes, before, has_instruction ? words_by_cpu : words_by_tables);
}

std::uint32_t crc32c_by_tables(Bytes bytes, std::uint32_t before)
{
	return crc_of(bytes, before, words_by_tables);
}

} // namespace zemctl

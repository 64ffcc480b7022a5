// SPDX-License-Identifier: GPL-2.0
/* The bytes of one store. */
#include "bytes.h"

#include <algorithm>

namespace fuzz {

namespace {

/* The module's limits and the limits of integers, with their neighbours. */
constexpr long long kEdges[] = {
	0,
	1,
	-1,
	2,
	10,
	127,
	4095,
	4096,
	4097,
	8192,
	10'000,
	10'001,
	16'384,
	65'536,
	1'048'575,
	1'048'576,
	1'048'577,
	2'147'483'647,
	2'147'483'648,
	-2'147'483'648,
	4'294'967'295,
	4'294'967'296,
	INT64_MAX,
	INT64_MIN,
};

constexpr std::size_t kSizeEdges[] = {0,    1,	  2,	31,   32,   126,  127,	128, 129,
				      255,  256,  478,	479,  480,  481,  511,	512, 1024,
				      4063, 4064, 4065, 4095, 4096, 4097, 8191, 8192};

constexpr std::string_view kPrefixes[] = {"",  "",  "",	 "",   "",   "",   " ",
					  "+", "-", "0", "0x", "\n", "\t "};
constexpr std::string_view kSuffixes[] = {"",	"\n", "\n", "\n", " ",	"\n\n", "x",
					  " 1", ".5", "%s", "%n", "-1", "\r\n", "\v"};

std::string number(Random &random)
{
	if (random.one_in(8))
		return std::string(1 + random.below(40), static_cast<char>('0' + random.below(10)));
	if (random.one_in(3))
		return std::to_string(random.one_of(kEdges));
	return std::to_string(random.below(random.one_in(2) ? 3 : 20'000));
}

std::string decorated(Random &random, std::string text)
{
	return std::string(random.one_of(kPrefixes)) + text + std::string(random.one_of(kSuffixes));
}

/* "UID STATE". Most UIDs come from a small range, so that they repeat; some come from anywhere. */
std::string foreground(Random &random)
{
	const std::string uid = random.one_in(4) ? number(random) :
						   std::to_string(10'000 + random.below(40));
	const std::string state = random.one_in(8) ? number(random) :
						     std::to_string(random.below(2));
	return uid + (random.one_in(16) ? "\t" : " ") + state;
}

std::string range(Random &random)
{
	const auto first = 10'000 + random.below(40);
	if (random.one_in(3))
		return number(random) + "-" + number(random);
	return std::to_string(first) + "-" + std::to_string(first + random.below(8));
}

/* Text that the file named @path accepts. */
std::string words(Random &random, std::string_view path)
{
	if (path.ends_with("/set"))
		return foreground(random);
	if (path.ends_with("/remove_uid_range"))
		return range(random);
	if (path.ends_with("_enabled") || path.ends_with("_report") || path.ends_with("/trace_on"))
		return random.one_in(4) ? number(random) : std::to_string(random.below(2));
	return number(random);
}

std::size_t size(Random &random)
{
	switch (random.below(8)) {
	case 0:
		return random.below(kStoreMax + 1);
	case 1:
		return random.one_of(kSizeEdges);
	default:
		return random.below(480);
	}
}

std::string noise(Random &random)
{
	std::string bytes(size(random), '\0');
	switch (random.below(4)) {
	case 0:
		std::ranges::fill(bytes, static_cast<char>(random.next()));
		break;
	case 1:
		for (char &byte : bytes)
			byte = static_cast<char>(' ' + random.below(95));
		break;
	default:
		random.fill(bytes);
	}
	return bytes;
}

/* Changes, inserts or removes a few bytes. */
void damage(Random &random, std::string &bytes)
{
	for (std::size_t count = 1 + random.below(4); count > 0; count--) {
		const std::size_t at = random.below(bytes.size() + 1);
		const char byte = static_cast<char>(random.next());
		if (at == bytes.size() || random.one_in(3))
			bytes.insert(at, 1, byte);
		else if (random.one_in(2))
			bytes[at] = byte;
		else
			bytes.erase(at, 1);
	}
}

} // namespace

std::string make_bytes(Random &random, std::string_view path)
{
	if (random.one_in(4))
		return noise(random);
	std::string bytes = words(random, path);
	if (random.one_in(2))
		bytes = decorated(random, std::move(bytes));
	else if (random.one_in(2))
		bytes += '\n';
	if (random.one_in(6))
		damage(random, bytes);
	/* A number, followed by more text than any buffer for it holds. */
	if (random.one_in(12))
		bytes.resize(std::max(bytes.size(), size(random)),
			     random.one_in(2) ? '\0' : static_cast<char>(random.next()));
	return bytes;
}

} // namespace fuzz

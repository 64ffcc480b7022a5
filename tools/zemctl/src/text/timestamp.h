/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Formats points in time, which are nanoseconds since the epoch.
 */
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace zemctl {

/*
 * Formats dates and times to the second. Most records belong to the second of the record before
 * them, so the last text is kept.
 */
class Calendar {
public:
	enum class Zone { kLocal, kUtc };

	/* @separator is put between the date and the time. */
	explicit Calendar(Zone zone, char separator = ' ') : zone_(zone), separator_(separator) {}

	/* Returns "2026-11-21 00:30:18". Valid until the next call. */
	std::string_view format(std::uint64_t nanoseconds);
	/* Returns how far the zone is ahead of UTC at that time, in seconds. */
	long offset(std::uint64_t nanoseconds);

private:
	void use(std::uint64_t nanoseconds);

	Zone zone_;
	char separator_;
	std::uint64_t second_ = UINT64_MAX; /* above every second of 64-bit nanoseconds */
	std::string text_;
	long offset_ = 0;
};

/* Returns "+09:00" for the @offset of a zone in seconds. */
std::string offset_text(long offset);

inline constexpr std::uint64_t kSecondNs = 1'000'000'000;

} // namespace zemctl

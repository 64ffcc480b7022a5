// SPDX-License-Identifier: GPL-2.0
/* The kernel's text views: a parser accepts the text, or fails with a message. */
#include <cstring>
#include <string>

#include "base/errors.h"
#include "targets.h"
#include "views/health_views.h"
#include "views/io_views.h"
#include "views/load_listing.h"
#include "views/sched_views.h"
#include "views/svp_listing.h"

namespace zemctl::fuzz {

namespace {

void parse(unsigned int which, std::string_view text)
{
	IoReading io = {};
	HistogramReading histogram;
	switch (which) {
	case 0:
		parse_load_listing(text);
		break;
	case 1:
		parse_svp_listing(text);
		break;
	case 2:
		parse_counts_view(text);
		break;
	case 3:
		parse_time_view(text, histogram);
		break;
	case 4:
		parse_health_interval(text);
		break;
	case 5:
		parse_health_sums(text);
		break;
	case 6:
		parse_disk_view(text, io);
		break;
	case 7:
		parse_uid_view(text, io);
		break;
	default:
		parse_bio_view(text, io);
	}
}

} // namespace

void run_view(Input input)
{
	constexpr unsigned int kViews = 9;
	if (input.empty())
		return;
	/* A copy of the exact size: the sanitizer reports a read past its end. */
	const std::string text(reinterpret_cast<const char *>(input.data()) + 1, input.size() - 1);
	try {
		parse(static_cast<unsigned char>(input[0] - '0') % kViews, text);
	} catch (const Failure &failure) {
		require(*failure.what() != '\0', "a failure has a message");
	}
}

} // namespace zemctl::fuzz

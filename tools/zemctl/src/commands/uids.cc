// SPDX-License-Identifier: GPL-2.0
/*
 * zemctl fg and zemctl forget: what the module is told about UIDs. What is no UID is refused here,
 * before the kernel is asked.
 */
#include "commands.h"

#include <cstdio>

#include <fmt/format.h>

#include "../errors.h"
#include "../files.h"
#include "../text.h"
#include "../words.h"

namespace zemctl {

namespace {

constexpr int kForeground = 0;
constexpr int kBackground = 1;

std::uint32_t parsed_uid(std::string_view text)
{
	const auto uid = parse_number<std::uint32_t>(text);
	if (!uid)
		throw usage_failure(
			fmt::format("{}: not a UID, which is 0 to {}", escaped(text), UINT32_MAX));
	return *uid;
}

void write_module_file(const std::string &file, std::string_view text)
{
	require_module_file(file);
	write_whole_file(file, text);
}

} // namespace

int run_fg(const Paths &paths, const std::string &uid, bool foreground)
{
	const std::uint32_t number = parsed_uid(uid);
	write_module_file(paths.proc + "/zem_procstat/set",
			  fmt::format("{} {}", number, foreground ? kForeground : kBackground));
	/* For bios the module does not look at the state of this one; bytes follow it. */
	if (number == 0 && foreground)
		fmt::print(stderr, "zemctl: the bios of UID 0 still count as background\n");
	return kStatusSuccess;
}

int run_forget(const Paths &paths, const std::string &uids)
{
	const std::string_view both = uids;
	const std::size_t dash = both.find('-');
	const std::uint32_t first = parsed_uid(both.substr(0, dash));
	const std::uint32_t last =
		dash == std::string_view::npos ? first : parsed_uid(both.substr(dash + 1));
	if (first > last)
		throw usage_failure(
			fmt::format("{}-{}: the first UID is above the last", first, last));
	write_module_file(paths.proc + "/zem_procstat/remove_uid_range",
			  fmt::format("{}-{}\n", first, last));
	return kStatusSuccess;
}

} // namespace zemctl

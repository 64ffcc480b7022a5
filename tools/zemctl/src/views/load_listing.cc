// SPDX-License-Identifier: GPL-2.0
/*
 * Parses /proc/load_metrics/load_metrics. Tasks choose their names, which may contain blanks, line
 * ends and parts that look like the text. The limits of their lengths help to find their ends.
 */
#include "views/load_listing.h"

#include <algorithm>
#include <optional>

#include "views/scanner.h"
#include "text/words.h"

namespace zemctl {

namespace {

constexpr std::size_t kCommMax = 15;
constexpr std::size_t kPackageMax = 31;
/* The length of " 18446744073709551615(18446744073709551615%)" twice. */
constexpr std::size_t kFiguresMax = std::size_t{2} * 45;

struct Figures {
	std::uint64_t usage;
	std::uint64_t combined;
};

/* Returns the usage of "123(4%)". The percentage is not used: it follows from the usage. */
std::optional<std::uint64_t> usage_of(std::string_view word)
{
	const std::size_t bracket = word.find('(');
	if (bracket == std::string_view::npos || !word.ends_with("%)"))
		return std::nullopt;
	const std::string_view percent = word.substr(bracket + 1, word.size() - bracket - 3);
	if (!parse_number<std::uint64_t>(percent))
		return std::nullopt;
	return parse_number<std::uint64_t>(word.substr(0, bracket));
}

/* Removes " 123(4%)" from the end of @text and returns the usage. */
std::optional<std::uint64_t> take_usage(std::string_view &text)
{
	const std::size_t blank = text.rfind(' ');
	if (blank == std::string_view::npos)
		return std::nullopt;
	const auto usage = usage_of(text.substr(blank + 1));
	text = text.substr(0, blank);
	return usage;
}

/* Removes both figures from the end of @text. Does not change @text if they are missing. */
std::optional<Figures> take_figures(std::string_view &text)
{
	std::string_view rest = text;
	const auto combined = take_usage(rest);
	const auto usage = take_usage(rest);
	if (!combined || !usage)
		return std::nullopt;
	text = rest;
	return Figures{*usage, *combined};
}

/*
 * Scans a name and the number behind " ppid:". A name may hold " ppid:" too: only the last of those
 * that can follow a name of this length ends it.
 */
void scan_comm(Scanner &scanner, LoadTask &task)
{
	constexpr std::string_view kAfter = " ppid:";
	constexpr std::string_view kPackage = " pkg:";
	const std::string_view text = scanner.rest();
	for (std::size_t end = text.rfind(kAfter, kCommMax); end != std::string_view::npos;
	     end = end == 0 ? std::string_view::npos : text.rfind(kAfter, end - 1)) {
		const std::string_view rest = text.substr(end + kAfter.size());
		const std::string_view tgid = rest.substr(0, rest.find(' '));
		const auto parsed = parse_number<std::int32_t>(tgid);
		if (parsed && rest.substr(tgid.size()).starts_with(kPackage)) {
			task.comm = text.substr(0, end);
			task.tgid = *parsed;
			scanner.skip(end + kAfter.size() + tgid.size() + kPackage.size());
			return;
		}
	}
	scanner.fail("a name has no end");
}

/* Scans up to the first line end that has both figures in front of it. */
void scan_package_and_figures(Scanner &scanner, LoadTask &task)
{
	const std::string_view text = scanner.rest();
	for (std::size_t end = text.find('\n');
	     end <= kPackageMax + kFiguresMax && end < text.size();
	     end = text.find('\n', end + 1)) {
		std::string_view package = text.substr(0, end);
		if (const auto figures = take_figures(package)) {
			task.pkg = package;
			task.usage = figures->usage;
			task.combined = figures->combined;
			scanner.skip(end + 1);
			return;
		}
	}
	scanner.fail("the figures are missing");
}

LoadTask scan_load_task(Scanner &scanner)
{
	LoadTask task = {};
	unsigned int leader_flag = 0;
	scanner.word("pid:").number(task.pid).word(" ").number(leader_flag).word(" comm:");
	task.leader_flag = leader_flag != 0;
	scan_comm(scanner, task);
	scan_package_and_figures(scanner, task);
	return task;
}

std::vector<std::uint64_t> parse_cpus(std::string_view line)
{
	constexpr std::string_view kLabel = "cpu:";
	if (!line.starts_with(kLabel))
		not_understood(line);
	std::vector<std::uint64_t> cpus;
	for (const std::string_view word : words_of(line.substr(kLabel.size()))) {
		const auto usage = usage_of(word);
		if (!usage)
			not_understood(line);
		cpus.push_back(*usage);
	}
	return cpus;
}

} // namespace

LoadReading parse_load_listing(std::string_view text)
{
	LoadReading reading = {};
	const std::string_view first = take_line(text);
	const auto words = words_of(first);
	if (words.size() != 3 || words[0] != "time:")
		not_understood(first);
	reading.end = number_of<std::uint64_t>(words[1], first);
	reading.window = number_of<std::uint64_t>(words[2], first);
	reading.cpus = parse_cpus(take_line(text));
	Scanner scanner(text, Scanner::Blanks::kKept);
	while (!scanner.is_at_end()) {
		const std::string_view start = scanner.rest();
		try {
			reading.tasks.push_back(scan_load_task(scanner));
		} catch (const ScanFault &) {
			not_understood(first_line(start));
		}
	}
	return reading;
}

} // namespace zemctl

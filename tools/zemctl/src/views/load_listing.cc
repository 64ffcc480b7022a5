// SPDX-License-Identifier: GPL-2.0
/*
 * The text of /proc/load_metrics/load_metrics. Its names are what tasks call themselves, blanks,
 * line ends and look-alikes of the text itself included, so lengths tell where a name can end.
 */
#include "views/load_listing.h"

#include <algorithm>
#include <optional>

#include "views/words.h"

namespace zemctl {

namespace {

constexpr std::size_t kCommMax = 15;
constexpr std::size_t kPackageMax = 31;
/* " 18446744073709551615(18446744073709551615%)" twice. */
constexpr std::size_t kFiguresMax = std::size_t{2} * 45;

struct Figures {
	std::uint64_t usage;
	std::uint64_t combined;
};

/* The number of "123(4%)"; the share is worked out anew where it is shown. */
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

/* Takes " 123(4%)" off the end of @text. */
std::optional<std::uint64_t> take_usage(std::string_view &text)
{
	const std::size_t blank = text.rfind(' ');
	if (blank == std::string_view::npos)
		return std::nullopt;
	const auto usage = usage_of(text.substr(blank + 1));
	text = text.substr(0, blank);
	return usage;
}

/* Takes both off the end of @text; leaves it alone where they are not there. */
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

/* Reads one task after the other. */
class TaskScanner {
public:
	explicit TaskScanner(std::string_view text) : rest_(text) {}

	bool is_at_end() const { return rest_.empty(); }

	LoadTask next()
	{
		start_ = rest_;
		LoadTask task = {};
		word("pid:");
		task.pid = number<std::uint32_t>();
		word(" ");
		task.leader_flag = number<unsigned int>() != 0;
		word(" comm:");
		scan_comm(task);
		scan_package_and_figures(task);
		return task;
	}

private:
	void word(std::string_view literal)
	{
		if (!rest_.starts_with(literal))
			fail();
		rest_.remove_prefix(literal.size());
	}

	template <typename Number>
	Number number()
	{
		Number value = 0;
		const auto parsed =
			std::from_chars(rest_.data(), rest_.data() + rest_.size(), value);
		if (parsed.ec != std::errc())
			fail();
		rest_.remove_prefix(static_cast<std::size_t>(parsed.ptr - rest_.data()));
		return value;
	}

	/* A name may hold " ppid:", but only the last that fits behind a name ends it. */
	void scan_comm(LoadTask &task)
	{
		constexpr std::string_view kAfter = " ppid:";
		const std::string_view from_comm = rest_;
		for (std::size_t end = kCommMax;; end--) {
			end = from_comm.rfind(kAfter, end);
			if (end == std::string_view::npos)
				fail();
			rest_ = from_comm.substr(end + kAfter.size());
			const std::string_view tgid = rest_.substr(0, rest_.find(' '));
			const auto parsed = parse_number<std::int32_t>(tgid);
			rest_.remove_prefix(tgid.size());
			if (parsed && rest_.starts_with(" pkg:")) {
				word(" pkg:");
				task.comm = from_comm.substr(0, end);
				task.tgid = *parsed;
				return;
			}
			if (end == 0)
				fail();
		}
	}

	/* The first line end that has both figures in front of it. */
	void scan_package_and_figures(LoadTask &task)
	{
		for (std::size_t end = rest_.find('\n');
		     end <= kPackageMax + kFiguresMax && end < rest_.size();
		     end = rest_.find('\n', end + 1)) {
			std::string_view package = rest_.substr(0, end);
			if (const auto figures = take_figures(package)) {
				task.pkg = package;
				task.usage = figures->usage;
				task.combined = figures->combined;
				rest_.remove_prefix(end + 1);
				return;
			}
		}
		fail();
	}

	[[noreturn]] void fail() const { not_understood(start_.substr(0, start_.find('\n'))); }

	std::string_view start_;
	std::string_view rest_;
};

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
	TaskScanner scanner(text);
	while (!scanner.is_at_end())
		reading.tasks.push_back(scanner.next());
	return reading;
}

} // namespace zemctl

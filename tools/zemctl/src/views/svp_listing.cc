// SPDX-License-Identifier: GPL-2.0
/*
 * The text of /proc/svp_metrics/svp_metrics, task by task, in the order in which it is written.
 */
#include "views/svp_listing.h"

#include <algorithm>
#include <charconv>
#include <span>

#include <fmt/format.h>

#include "base/errors.h"
#include "decode/svp.h"
#include "text/text.h"

namespace zemctl {

namespace {

/* Reads one piece after the other; runs of blanks count as one blank. */
class Scanner {
public:
	explicit Scanner(std::string_view text) : text_(text), rest_(text) {}

	bool is_at_end()
	{
		skip_blanks();
		return rest_.empty();
	}

	/* The words of @literal, in this order. */
	Scanner &word(std::string_view literal)
	{
		skip_blanks();
		if (!rest_.starts_with(literal))
			fail(fmt::format("\"{}\" is missing", literal));
		rest_.remove_prefix(literal.size());
		return *this;
	}

	/* Counters are printed as signed numbers, however they wrap. */
	template <typename Number>
	Scanner &number(Number &value)
	{
		skip_blanks();
		long long parsed_value = 0;
		const auto parsed =
			std::from_chars(rest_.data(), rest_.data() + rest_.size(), parsed_value);
		if (parsed.ec != std::errc())
			fail("a number is missing");
		value = static_cast<Number>(parsed_value);
		rest_.remove_prefix(static_cast<std::size_t>(parsed.ptr - rest_.data()));
		return *this;
	}

	template <typename Number, std::size_t size>
	Scanner &numbers(Number (&values)[size])
	{
		for (Number &value : values) {
			number(value);
			if (rest_.starts_with(','))
				rest_.remove_prefix(1);
		}
		return *this;
	}

	/* A task names itself, line ends and all, so only what follows tells where a name ends. */
	template <std::size_t size>
	Scanner &name(char (&field)[size], std::string_view follower)
	{
		if (rest_.starts_with(' '))
			rest_.remove_prefix(1);
		const std::size_t length = rest_.find(follower);
		if (length == std::string_view::npos)
			fail("a name has no end");
		rest_.substr(0, std::min(length, size - 1)).copy(field, size - 1);
		rest_.remove_prefix(length);
		return *this;
	}

	Scanner &skip_line()
	{
		skip_blanks();
		rest_.remove_prefix(std::min(rest_.find('\n'), rest_.size()));
		return *this;
	}

private:
	void skip_blanks()
	{
		rest_.remove_prefix(std::min(rest_.find_first_not_of(" \n"), rest_.size()));
	}

	[[noreturn]] void fail(std::string_view what) const
	{
		const auto before = text_.substr(0, text_.size() - rest_.size());
		throw Failure(
			fmt::format("line {}: {}", std::ranges::count(before, '\n') + 1, what));
	}

	std::string_view text_;
	std::string_view rest_;
};

void scan_common(Scanner &scanner, zem_svp &task)
{
	scanner.word("---------------- svp common info ----------------");
	scanner.word("tgid:").number(task.tgid).word("pid:").number(task.pid);
	scanner.word("thread_name:").name(task.thread_name, "\npackage_name: ");
	scanner.word("package_name:").name(task.package_name, "\n---------------- svp sched ");
}

void scan_sched(Scanner &scanner, zem_svp_stats &stats)
{
	scanner.word("---------------- svp sched information ----------------");
	scanner.word("run_delay_total:").number(stats.run_delay_total);
	scanner.word("run_delay[]:").numbers(stats.run_delay);
	scanner.word("runtime_total:").number(stats.runtime_total);
	scanner.word("runtime[]:").numbers(stats.runtime);
	scanner.word("d_state_duration_total:").number(stats.d_state_duration_total);
	scanner.word("d_state_duration[]:").numbers(stats.d_state_duration);
}

void scan_memory(Scanner &scanner, zem_svp_stats &stats)
{
	scanner.word("---------------- svp memory information ----------------");
	scanner.word("page allocation failure order:");
	for (std::size_t order = 0; order < ZEM_ALLOC_ORDERS; order++)
		scanner.word(fmt::format("[{}]=", order))
			.number(stats.alloc_fail_order[order])
			.word(",");
	scanner.word("type").skip_line();
	for (const SvpMemoryRow &row : kSvpMemoryRows)
		scanner.word(row.name).word(":").numbers(stats.*row.counts);
}

void scan_io(Scanner &scanner, zem_svp_stats &stats)
{
	scanner.word("------------------ svp io information ------------------");
	scanner.word("iowait_total:").number(stats.iowait_total);
	scanner.word("iowait_total_cnt:").number(stats.iowait_total_cnt);
	scanner.word("iowait_duration[]:").numbers(stats.iowait_duration);
	scanner.word("iowait_coldstart:").number(stats.iowait_coldstart);
	scanner.word("iowait_coldstart_cnt").number(stats.iowait_coldstart_cnt);
	scanner.word("ui_iowait_long_cnt:").number(stats.ui_iowait_long_cnt);
	scanner.word("read_bytes:").number(stats.read_bytes);
	scanner.word("read_syscall_cnt:").number(stats.read_syscall_cnt);
	scanner.word("write_bytes:").number(stats.write_bytes);
	scanner.word("write_syscall_cnt:").number(stats.write_syscall_cnt);
	scanner.word("bio_read_size:").number(stats.bio_read_size);
	scanner.word("bio_read_time:").number(stats.bio_read_time);
	scanner.word("bio_read_cnt:").number(stats.bio_read_cnt);
	scanner.word("bio_write_size:").number(stats.bio_write_size);
	scanner.word("bio_write_time:").number(stats.bio_write_time);
	scanner.word("bio_write_cnt:").number(stats.bio_write_cnt);
}

} // namespace

std::vector<zem_svp> parse_svp_listing(std::string_view text)
{
	std::vector<zem_svp> tasks;
	Scanner scanner(text);
	while (!scanner.is_at_end()) {
		zem_svp &task = tasks.emplace_back();
		scan_common(scanner, task);
		scan_sched(scanner, task.stats);
		scan_memory(scanner, task.stats);
		scan_io(scanner, task.stats);
	}
	return tasks;
}

} // namespace zemctl

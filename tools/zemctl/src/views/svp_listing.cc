// SPDX-License-Identifier: GPL-2.0
/*
 * Parses /proc/svp_metrics/svp_metrics task by task.
 */
#include "views/svp_listing.h"

#include <algorithm>

#include <fmt/format.h>

#include "base/errors.h"
#include "decode/svp.h"
#include "views/scanner.h"

namespace zemctl {

namespace {

void scan_common(Scanner &scanner, zem_svp &task)
{
	scanner.word("---------------- svp common info ----------------");
	scanner.word("tgid:").counter(task.tgid).word("pid:").counter(task.pid);
	scanner.word("thread_name:").name(task.thread_name, "\npackage_name: ");
	scanner.word("package_name:").name(task.package_name, "\n---------------- svp sched ");
}

void scan_sched(Scanner &scanner, zem_svp_stats &stats)
{
	scanner.word("---------------- svp sched information ----------------");
	scanner.word("run_delay_total:").counter(stats.run_delay_total);
	scanner.word("run_delay[]:").counters(stats.run_delay);
	scanner.word("runtime_total:").counter(stats.runtime_total);
	scanner.word("runtime[]:").counters(stats.runtime);
	scanner.word("d_state_duration_total:").counter(stats.d_state_duration_total);
	scanner.word("d_state_duration[]:").counters(stats.d_state_duration);
}

void scan_memory(Scanner &scanner, zem_svp_stats &stats)
{
	scanner.word("---------------- svp memory information ----------------");
	scanner.word("page allocation failure order:");
	for (std::size_t order = 0; order < ZEM_ALLOC_ORDERS; order++)
		scanner.word(fmt::format("[{}]=", order))
			.counter(stats.alloc_fail_order[order])
			.word(",");
	scanner.word("type").skip_line();
	for (const SvpMemoryRow &row : kSvpMemoryRows)
		scanner.word(row.name).word(":").counters(stats.*row.counts);
}

void scan_io(Scanner &scanner, zem_svp_stats &stats)
{
	scanner.word("------------------ svp io information ------------------");
	scanner.word("iowait_total:").counter(stats.iowait_total);
	scanner.word("iowait_total_cnt:").counter(stats.iowait_total_cnt);
	scanner.word("iowait_duration[]:").counters(stats.iowait_duration);
	scanner.word("iowait_coldstart:").counter(stats.iowait_coldstart);
	scanner.word("iowait_coldstart_cnt").counter(stats.iowait_coldstart_cnt);
	scanner.word("ui_iowait_long_cnt:").counter(stats.ui_iowait_long_cnt);
	scanner.word("read_bytes:").counter(stats.read_bytes);
	scanner.word("read_syscall_cnt:").counter(stats.read_syscall_cnt);
	scanner.word("write_bytes:").counter(stats.write_bytes);
	scanner.word("write_syscall_cnt:").counter(stats.write_syscall_cnt);
	scanner.word("bio_read_size:").counter(stats.bio_read_size);
	scanner.word("bio_read_time:").counter(stats.bio_read_time);
	scanner.word("bio_read_cnt:").counter(stats.bio_read_cnt);
	scanner.word("bio_write_size:").counter(stats.bio_write_size);
	scanner.word("bio_write_time:").counter(stats.bio_write_time);
	scanner.word("bio_write_cnt:").counter(stats.bio_write_cnt);
}

zem_svp scan_svp_task(Scanner &scanner)
{
	zem_svp task = {};
	scan_common(scanner, task);
	scan_sched(scanner, task.stats);
	scan_memory(scanner, task.stats);
	scan_io(scanner, task.stats);
	return task;
}

} // namespace

std::vector<zem_svp> parse_svp_listing(std::string_view text)
{
	std::vector<zem_svp> tasks;
	Scanner scanner(text);
	try {
		while (!scanner.is_at_end())
			tasks.push_back(scan_svp_task(scanner));
	} catch (const ScanFault &fault) {
		const auto before = text.substr(0, text.size() - fault.rest.size());
		throw Failure(fmt::format("line {}: {}", std::ranges::count(before, '\n') + 1,
					  fault.what));
	}
	return tasks;
}

} // namespace zemctl

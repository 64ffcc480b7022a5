/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The processes of the screen: the load and svp records of one pass each, summed over the threads
 * of a process.
 */
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <linux/zem.h>

#include "top/passes.h"

namespace zemctl {

struct TopProcess {
	std::int64_t pid = 0; /* of the leader, or of a thread without one */
	std::string comm = {}; /* of the leader, if it is known */
	std::string package = {};
	/* None: the records of the pass do not have the value. */
	std::optional<std::uint64_t> usage = {}; /* capacity units */
	std::optional<std::uint64_t> runtime = {}; /* ns, as the following */
	std::optional<std::uint64_t> run_delay = {};
	std::optional<std::uint64_t> d_state = {};
	std::optional<std::uint64_t> iowait = {};
};

/* The columns by which processes are sorted. */
enum class TopSort : std::uint8_t { kUsage, kRuntime, kRunDelay, kDState, kIoWait, kPid, kName };

struct TopSortRow {
	std::string_view name; /* of --sort */
	std::string_view title;
};

inline constexpr std::array kTopSorts = {
	TopSortRow{"cpu", "CPU %"},	TopSortRow{"ran", "RAN"},	TopSortRow{"wait", "WAIT"},
	TopSortRow{"dstate", "DSTATE"}, TopSortRow{"iowait", "IOWAIT"}, TopSortRow{"pid", "PID"},
	TopSortRow{"name", "NAME"},
};

struct TopOrder {
	TopSort by = TopSort::kUsage;
	bool reverse = false;
	std::string filter = {}; /* a part of the name, of the package or of the pid; "" for all */
};

class TopProcesses {
public:
	void add(const zem_load &load, std::uint64_t time);
	void add(const zem_svp &svp, std::uint64_t time);

	/* Returns the processes to show at @now, without an order. */
	std::vector<TopProcess> shown(std::uint64_t now, StreamState state) const;
	/* Returns when the shown load records were written; nothing before the first. */
	std::optional<PassTimes> times(std::uint64_t now, StreamState state) const;

private:
	/* A stream may be damaged or made up. No kernel has more processes. */
	static constexpr std::size_t kProcessesMax = 32768;

	using Table = std::map<std::int64_t, TopProcess>;

	static TopProcess *find(Table &table, std::int64_t tgid, std::int64_t pid,
				std::string_view comm, std::string_view package);

	Passes<Table> load_;
	Passes<Table> svp_;
};

/* Selects and sorts: the largest values first, pids and names in ascending order. */
void select_and_sort(std::vector<TopProcess> &processes, const TopOrder &order);

} // namespace zemctl

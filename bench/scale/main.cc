// SPDX-License-Identifier: GPL-2.0
/*
 * Measures each row with 1, 2, 4 ... threads, up to the number of CPUs. Takes the options of Google
 * Benchmark, which writes each window to a JSON file on request. Exit status: 1 if a count was
 * wrong.
 */
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "host/cpu.h"
#include "report.h"
#include "rows.h"

namespace {

using scale::Report;
using scale::Round;
using scale::Row;
using scale::Team;

/* Short windows, because another process may take a CPU at any time. */
constexpr scale::Effort kEffort{.window = std::chrono::milliseconds(1), .attempts = 100};
constexpr int kRepetitions = 40;

/* Replaced for each repetition by its first thread, before the others begin to measure. */
std::unique_ptr<Team> team;

void measure(benchmark::State &state, const Row &row, bool is_floor, Report &report)
{
	const auto threads = static_cast<unsigned int>(state.threads());
	const auto index = static_cast<unsigned int>(state.thread_index());
	const bool is_first = index == 0;
	Round round{};

	if (is_first)
		team = std::make_unique<Team>(row, threads);
	/* The loop begins and ends with a barrier of all threads. */
	for (auto _ : state) {
		round = team->measure(index, kEffort);
		state.SetIterationTime(round.together.seconds);
	}
	if (!is_first)
		return;
	state.SetItemsProcessed(static_cast<int64_t>(round.together.calls));
	state.counters["scaling"] = round.scaling;
	state.counters["disturbed"] = round.was_disturbed;
	if (const std::string error = team->check(); !error.empty()) {
		state.SkipWithError(error.c_str());
		report.add_error(row.name, is_floor, threads, error);
		return;
	}
	report.add(row.name, is_floor, threads, round);
}

void add_benchmark(const Row &row, bool is_floor, Report &report)
{
	const std::string name = (is_floor ? "floor/" : "zem/") + std::string(row.name);
	const auto cpus = static_cast<int>(host::real_cpus().size());
	auto *added = benchmark::RegisterBenchmark(
		name.c_str(), [&row, is_floor, &report](benchmark::State &state) {
			measure(state, row, is_floor, report);
		});
	added->Iterations(1)->Repetitions(kRepetitions)->UseManualTime();
	for (int threads = 1; threads < cpus; threads *= 2)
		added->Threads(threads);
	added->Threads(cpus);
}

/* Prints nothing: the report has the results. */
class Silence : public benchmark::BenchmarkReporter {
public:
	bool ReportContext(const Context &) override { return true; }
	void ReportRuns(const std::vector<Run> &) override {}
};

} /* namespace */

int main(int argc, char **argv)
{
	/* Spreads the rounds of each row over the whole run. An option of the caller's may follow.
	 */
	std::string interleaving = "--benchmark_enable_random_interleaving=true";
	std::vector<char *> arguments{argv, argv + argc};
	arguments.insert(arguments.begin() + 1, interleaving.data());
	int count = static_cast<int>(arguments.size());
	benchmark::Initialize(&count, arguments.data());
	if (benchmark::ReportUnrecognizedArguments(count, arguments.data()))
		return 2;
	/* Before a thread is pinned. */
	host::real_cpus();
	scale::load_module();

	const std::vector<scale::Pair> rows = scale::all_rows();
	Report report(rows);
	for (const scale::Pair &pair : rows) {
		add_benchmark(pair.zem, false, report);
		if (pair.floor.name)
			add_benchmark(pair.floor, true, report);
	}
	Silence silence;
	benchmark::RunSpecifiedBenchmarks(&silence);
	report.print(std::cout);
	return report.has_errors();
}

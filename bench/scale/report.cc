// SPDX-License-Identifier: GPL-2.0
/*
 * A figure is the median of the rounds in which no thread lost its CPU. The best round would be the
 * one in which the host of a virtual machine delayed a thread that shares a cache line with others.
 */
#include "report.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ostream>

#include "host/cpu.h"

namespace scale {

namespace {

constexpr double kGoal = 1.8; /* throughput of two threads over one */

/* Return: the median; 0 without a value. */
double median(std::vector<double> values)
{
	if (values.empty())
		return 0;
	const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
	std::ranges::nth_element(values, middle);
	return *middle;
}

struct Figures {
	double rate = 0; /* calls in a second; 0: not measured */
	double scaling = 0;
	bool is_disturbed = false; /* no round was undisturbed */
};

Figures figures_of(const std::map<unsigned int, std::vector<Round>> &rounds, unsigned int threads)
{
	const auto found = rounds.find(threads);
	if (found == rounds.end())
		return {};
	const bool is_disturbed = std::ranges::all_of(found->second, &Round::was_disturbed);
	std::vector<double> rates, scalings;
	for (const Round &round : found->second) {
		if (round.was_disturbed && !is_disturbed)
			continue;
		rates.push_back(round.together.rate());
		scalings.push_back(round.scaling);
	}
	return {median(rates), median(scalings), is_disturbed};
}

template <typename... Arguments>
void print(std::ostream &out, const char *format, Arguments... arguments)
{
	char line[256];
	snprintf(line, sizeof(line), format, arguments...);
	out << line;
}

void print_figures(std::ostream &out, const Figures &figures, unsigned int threads)
{
	if (figures.rate == 0)
		return;
	print(out, " %12.2f", figures.rate / 1e6);
	if (threads > 1)
		print(out, " %7.2f%s", figures.scaling, figures.is_disturbed ? "?" : " ");
	else
		print(out, " %8s", "");
}

} /* namespace */

Report::Report(const std::vector<Pair> &rows)
{
	for (const Pair &pair : rows)
		results_.push_back({.row = pair.zem.name, .zem = {}, .floor = {}});
}

void Report::add(const std::string &row, bool is_floor, unsigned int threads, const Round &round)
{
	Result &result = *std::ranges::find(results_, row, &Result::row);
	(is_floor ? result.floor : result.zem)[threads].push_back(round);
}

void Report::add_error(const std::string &row, bool is_floor, unsigned int threads,
		       const std::string &what)
{
	const std::string place = (is_floor ? "plain C of " : "") + row + " with " +
				  std::to_string(threads) + " threads";
	errors_.emplace(place, what);
}

void Report::print(std::ostream &out) const
{
	double load[3] = {};
	getloadavg(load, 3);
	::scale::print(out, "%zu CPUs on %zu cores, load average %.2f\n", host::real_cpus().size(),
		       host::real_cores(), load[0]);
	::scale::print(out, "%-22s %7s %12s %8s %12s %8s\n", "million calls a second", "threads",
		       "zem", "scaling", "plain C", "scaling");
	std::string slow;
	for (const Result &result : results_) {
		for (const auto &[threads, rounds] : result.zem) {
			const Figures zem = figures_of(result.zem, threads);
			::scale::print(out, "%-22s %7u", result.row.c_str(), threads);
			print_figures(out, zem, threads);
			print_figures(out, figures_of(result.floor, threads), threads);
			out << '\n';
			if (threads == 2 && zem.scaling < kGoal)
				slow += " " + result.row;
		}
	}
	if (!slow.empty())
		::scale::print(out, "two threads reach less than %.1f times one:%s\n", kGoal,
			       slow.c_str());
	for (const auto &[place, what] : errors_)
		out << "error: " << place << ": " << what << '\n';
}

} /* namespace scale */

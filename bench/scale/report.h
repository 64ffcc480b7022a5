/* SPDX-License-Identifier: GPL-2.0 */
/* The rounds of each row, by number of threads, and the table of their throughput. */
#pragma once

#include <iosfwd>
#include <map>
#include <string>
#include <vector>

#include "rows.h"

namespace scale {

class Report {
public:
	/* @rows: in the order of the table. */
	explicit Report(const std::vector<Pair> &rows);

	void add(const std::string &row, bool is_floor, unsigned int threads, const Round &round);
	/* Keeps the first error of each row and number of threads. */
	void add_error(const std::string &row, bool is_floor, unsigned int threads,
		       const std::string &what);

	[[nodiscard]] bool has_errors() const { return !errors_.empty(); }

	/* Prints the table, what it was measured on, and the errors. */
	void print(std::ostream &out) const;

private:
	using Rounds = std::map<unsigned int, std::vector<Round>>; /* by threads */

	struct Result {
		std::string row;
		Rounds zem;
		Rounds floor;
	};

	std::vector<Result> results_;
	std::map<std::string, std::string> errors_; /* by the place of the error */
};

} /* namespace scale */

/* SPDX-License-Identifier: GPL-2.0 */
/* The possible CPUs in ascending order: for (unsigned int cpu : PossibleCpus()) */
#pragma once

#include "api/cpumask.h"

namespace zem {

class PossibleCpus {
public:
	class Iterator {
	public:
		explicit Iterator(unsigned int cpu) : cpu_(cpu) {}

		unsigned int operator*() const { return cpu_; }

		Iterator &operator++()
		{
			cpu_ = next_from(cpu_ + 1);
			return *this;
		}

		bool operator!=(const Iterator &other) const { return cpu_ != other.cpu_; }

	private:
		unsigned int cpu_;
	};

	[[nodiscard]] Iterator begin() const { return Iterator(next_from(0)); }

	[[nodiscard]] Iterator end() const { return Iterator(helper_nr_cpu_ids()); }

private:
	static unsigned int next_from(unsigned int cpu)
	{
		const unsigned int end = helper_nr_cpu_ids();
		while (cpu < end && !helper_cpu_possible(cpu))
			cpu++;
		return cpu;
	}
};

} /* namespace zem */

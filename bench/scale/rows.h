/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The functions that are measured. A row of the module has a floor, where there is one: the
 * function's work in the obvious plain C, where all CPUs share a lock or counters.
 */
#pragma once

#include <span>
#include <vector>

#include "team.h"

namespace scale {

struct Pair {
	Row zem;
	Row floor; /* without a name if there is none */
};

/* Return: the function, unknown to the compiler: hooks and other modules call through pointers. */
template <typename Function>
[[nodiscard]] Function *opaque(Function *function)
{
	asm("" : "+r"(function));
	return function;
}

/* Initialises the parts of the module that the rows call. Once, before any row is used. */
void load_module();

/* Return: all rows, in the order of the report. The first one shows what the machine does. */
std::vector<Pair> all_rows();

/* The parts of both, by file. */
void load_io();
void load_records();
void load_sched();
std::span<const Pair> io_rows();
std::span<const Pair> record_rows();
std::span<const Pair> sched_rows();

} /* namespace scale */

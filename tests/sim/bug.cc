// SPDX-License-Identifier: GPL-2.0
/* BUG() ends the process. */
#include "kernel/api/bug.h"

#include <cstdio>
#include <cstdlib>

#include "kernel.h"

void helper_bug(void)
{
	fprintf(stderr, "BUG in %s on cpu %u\n", sim::Scheduler::current().name.c_str(),
		sim::Scheduler::current().fields.cpu);
	fflush(nullptr);
	std::_Exit(EXIT_FAILURE);
}

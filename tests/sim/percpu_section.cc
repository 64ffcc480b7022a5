// SPDX-License-Identifier: GPL-2.0
/* Part of the module's library: tells the simulation where its per-CPU variables are. */
#include <cstddef>

extern "C" {

/* Made by the linker if there is such a section. */
extern std::byte __start_zem_percpu[] __attribute__((weak, visibility("hidden")));
extern std::byte __stop_zem_percpu[] __attribute__((weak, visibility("hidden")));

void sim_percpu_section(std::byte **start, std::byte **end);

void sim_percpu_section(std::byte **start, std::byte **end)
{
	*start = __start_zem_percpu;
	*end = __stop_zem_percpu;
}
}

// SPDX-License-Identifier: GPL-2.0
/* Loading and unloading of the module's shared library. */
#include "module.h"

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>

namespace sim {

namespace {

[[noreturn]] void die(const char *what)
{
	const char *error = dlerror();
	fprintf(stderr, "%s: %s\n", what, error ? error : "it is still in memory");
	std::_Exit(EXIT_FAILURE);
}

} /* namespace */

Module::~Module()
{
	if (library_)
		dlclose(library_);
}

int Module::load()
{
	library_ = dlopen(ZEM_MODULE, RTLD_NOW | RTLD_LOCAL);
	if (!library_)
		die("load");
	using Section = void(std::byte **, std::byte **);
	std::byte *start = nullptr;
	std::byte *end = nullptr;
	symbol<Section>("sim_percpu_section")(&start, &end);
	kernel_.cpus.set_percpu_section(start, end);

	const int error = symbol<int()>("zem_init")();
	if (error)
		close();
	return error;
}

void Module::unload()
{
	symbol<void()>("zem_exit")();
	close();
}

/* A library that stays in memory would give the next load used variables. */
void Module::close()
{
	dlclose(library_);
	library_ = nullptr;
	if (dlopen(ZEM_MODULE, RTLD_NOW | RTLD_NOLOAD))
		die("unload");
}

void *Module::find(const std::string &name) const
{
	void *address = dlsym(library_, name.c_str());
	if (!address)
		die("symbol");
	return address;
}

} /* namespace sim */

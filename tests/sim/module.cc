// SPDX-License-Identifier: GPL-2.0
/* Loads and unloads the module's shared library. */
#include "module.h"

#include <dlfcn.h>
#include <link.h>

#include <cstdio>
#include <cstdlib>

#include "kernel/api/module.h"
#include "kernel/api/tracepoint.h"

namespace sim {

namespace {

[[noreturn]] void die(const char *what)
{
	const char *error = dlerror();
	fprintf(stderr, "%s: %s\n", what, error ? error : "it is still in memory");
	std::_Exit(EXIT_FAILURE);
}

/* Returns the variables of the library, its one writable segment. */
std::span<const std::byte> data_of(void *library)
{
	struct Search {
		ElfW(Addr) base;
		std::span<const std::byte> data;
	};
	link_map *map = nullptr;
	if (dlinfo(library, RTLD_DI_LINKMAP, &map))
		die("dlinfo");
	Search search{map->l_addr, {}};
	dl_iterate_phdr(
		[](dl_phdr_info *info, size_t, void *context) {
			auto *search = static_cast<Search *>(context);
			for (int i = 0; i < info->dlpi_phnum; i++) {
				const ElfW(Phdr) &header = info->dlpi_phdr[i];
				if (info->dlpi_addr == search->base && header.p_type == PT_LOAD &&
				    (header.p_flags & PF_W))
					search->data = {reinterpret_cast<const std::byte *>(
								info->dlpi_addr + header.p_vaddr),
							header.p_memsz};
			}
			return 0;
		},
		&search);
	if (search.data.empty())
		die("no data segment");
	return search.data;
}

} /* namespace */

Module::Module(Kernel &kernel) : kernel_(kernel)
{
	kernel.module = this;
}

Module::~Module()
{
	kernel_.module = nullptr;
	if (library_)
		dlclose(library_);
}

int Module::load()
{
	library_ = dlopen(ZEM_MODULE, RTLD_NOW | RTLD_LOCAL);
	if (!library_)
		die("load");
	kernel_.cpus.set_module_data(data_of(library_));
	pins_ = 0;

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

/*
 * Like a platform on a stock kernel, removes what the module leaves behind. A library that stayed
 * in memory would keep its variables for the next load.
 */
void Module::close()
{
	kernel_.left_hooks = kernel_.hooks.attached();
	kernel_.left_in_proc = kernel_.proc.entries();
	kernel_.left_in_sysfs = kernel_.sysfs.directories();
	kernel_.left_listener = kernel_.load.has_listener();
	kernel_.hooks.clear();
	kernel_.load.clear();
	kernel_.irq_works.forget();
	kernel_.proc.clear();
	kernel_.sysfs.clear();
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

struct kobject *helper_module_kobject(void)
{
	return sim::Kernel::get().sysfs.module_directory();
}

void helper_module_pin(void)
{
	sim::Kernel::get().module->pin();
}

int helper_vendor_hooks_stay_attached(void)
{
	return sim::Kernel::get().options.vendor_hooks_stay_attached;
}

/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The simulation's content of the module's storage of a kernel type: a mark that it was
 * initialised, and a pointer to the object. The objects live as long as the simulated kernel.
 */
#pragma once

#include <cstdint>
#include <cstdlib>
#include <list>
#include <memory>
#include <mutex>
#include <string>

#include "kernel/layout.gen.h"

namespace sim {

/* Returns the name of the variable at @address, or the address if the variable is local to its
 * file. */
std::string symbol_name(const void *address);

template <typename Object>
class Handles {
public:
	template <typename... Arguments>
	Object &make(void *storage, Arguments &&...arguments)
	{
		std::lock_guard guard(lock_);
		auto &object = objects_.emplace_back(
			std::make_unique<Object>(std::forward<Arguments>(arguments)...));
		*static_cast<Handle *>(storage) = {kMark, object.get()};
		return *object;
	}

	/* Returns the object of initialised storage. Otherwise ends the process. */
	[[nodiscard]] static Object &of(const void *storage, const char *call)
	{
		const auto *handle = static_cast<const Handle *>(storage);
		if (handle->mark != kMark)
			die_uninitialised(storage, call);
		return *handle->object;
	}

private:
	struct Handle {
		uint64_t mark;
		Object *object;
	};
	static_assert(sizeof(Handle) == KERNEL_SIZEOF_COMPLETION);
	static_assert(sizeof(Handle) == KERNEL_SIZEOF_MUTEX);
	static_assert(sizeof(Handle) == KERNEL_SIZEOF_SPINLOCK);
	static_assert(sizeof(Handle) == KERNEL_SIZEOF_RAW_SPINLOCK);
	static_assert(sizeof(Handle) == KERNEL_SIZEOF_IRQ_WORK);

	static constexpr uint64_t kMark = 0x5a454d2053494d21;

	[[noreturn]] static void die_uninitialised(const void *storage, const char *call)
	{
		fprintf(stderr, "%s of %s, which was not initialised\n", call,
			symbol_name(storage).c_str());
		std::_Exit(EXIT_FAILURE);
	}

	std::mutex lock_;
	std::list<std::unique_ptr<Object>> objects_;
};

} /* namespace sim */

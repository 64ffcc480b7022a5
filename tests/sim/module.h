/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The module under test: a shared library that is opened for each load, so that its variables are
 * initialised again, and closed after it. Its exported symbols are found by name, as another
 * module's would be.
 */
#pragma once

#include <string>

#include "kernel.h"

namespace sim {

class Module {
public:
	explicit Module(Kernel &kernel);
	~Module();
	Module(const Module &) = delete;
	Module &operator=(const Module &) = delete;

	/* insmod. Return: the result of the module's init; 0: the module is loaded. */
	[[nodiscard]] int load();
	/* rmmod. Some other thread must provide what the module's exit waits for. */
	void unload();

	[[nodiscard]] bool loaded() const { return library_; }

	/* References that the module holds to itself. With any, rmmod would be refused. */
	[[nodiscard]] int pins() const { return pins_; }
	void pin() { pins_++; }

	/* Returns an exported symbol. Ends the process if there is none. */
	template <typename Type>
	[[nodiscard]] Type *symbol(const std::string &name) const
	{
		return reinterpret_cast<Type *>(find(name));
	}

private:
	[[nodiscard]] void *find(const std::string &name) const;
	void close();

	Kernel &kernel_;
	void *library_ = nullptr;
	int pins_ = 0;
};

} /* namespace sim */

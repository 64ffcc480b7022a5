/* SPDX-License-Identifier: GPL-2.0 */
/*
 * A temporary folder with plain files instead of those of the module.
 */
#pragma once

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>

#include "kernel/kernel_loss.h"

namespace zemctl {

namespace fs = std::filesystem;

/* The destructor removes the folder. All counters of the module start at 0. */
class ModuleFiles {
public:
	ModuleFiles()
	{
		std::string pattern = (fs::temp_directory_path() / "zemctl-XXXXXX").string();
		if (::mkdtemp(pattern.data()) == nullptr)
			throw std::runtime_error("no temporary folder");
		root = pattern;
		for (const std::string_view file : kModuleCounters)
			count(file, 0);
	}
	~ModuleFiles() { fs::remove_all(root); }
	ModuleFiles(const ModuleFiles &) = delete;
	ModuleFiles &operator=(const ModuleFiles &) = delete;

	void put(const std::string &name, std::string_view content) const
	{
		fs::create_directories((root / name).parent_path());
		std::ofstream(root / name, std::ios::binary) << content;
	}

	std::string get(const std::string &name) const
	{
		std::ostringstream content;
		content << std::ifstream(root / name, std::ios::binary).rdbuf();
		return content.str();
	}

	/* The folder of the counters. count() sets one of them. */
	fs::path counters() const { return root / "module/counters"; }
	void count(std::string_view file, std::uint64_t value) const
	{
		put("module/counters/" + std::string(file), std::to_string(value) + "\n");
	}

	fs::path root;
};

} // namespace zemctl

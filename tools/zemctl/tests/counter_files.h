/* SPDX-License-Identifier: GPL-2.0 */
/* A folder of plain files in place of /sys/module/zem/counters, all 0 at first. */
#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>

#include "kernel/kernel_loss.h"

namespace zemctl {

class CounterFiles {
public:
	CounterFiles()
	{
		std::string pattern =
			(std::filesystem::temp_directory_path() / "counters-XXXXXX").string();
		if (::mkdtemp(pattern.data()) == nullptr)
			throw std::runtime_error("no temporary folder");
		directory_ = pattern;
		for (const std::string_view file : kKernelCounterFiles)
			put(file, 0);
	}
	~CounterFiles() { std::filesystem::remove_all(directory_); }
	CounterFiles(const CounterFiles &) = delete;
	CounterFiles &operator=(const CounterFiles &) = delete;

	std::string path() const { return directory_.string(); }
	void put(std::string_view file, std::uint64_t value) const
	{
		std::ofstream(directory_ / file) << value << '\n';
	}
	void put_text(std::string_view file, std::string_view text) const
	{
		std::ofstream(directory_ / file) << text;
	}
	void remove(std::string_view file) const { std::filesystem::remove(directory_ / file); }

private:
	std::filesystem::path directory_;
};

} // namespace zemctl

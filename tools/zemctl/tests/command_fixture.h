/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Runs the program as a user does, with plain files instead of /dev/zem_shared and of those below
 * /sys and /proc.
 */
#pragma once

#include <cstdlib>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/wait.h>

#include "kernel/families.h"
#include "made_records.h"
#include "module_files.h"
#include "records/channels.h"

namespace zemctl {

inline constexpr std::string_view kHeading =
	"TIME (+00:00)               CHANNEL      SUB   TRAIN   LEN  PAYLOAD\n";

/* Returns the JSON objects of @lines. */
inline std::vector<nlohmann::json> objects_of(const std::string &lines)
{
	std::vector<nlohmann::json> objects;
	std::istringstream stream(lines);
	for (std::string line; std::getline(stream, line);)
		objects.push_back(nlohmann::json::parse(line));
	return objects;
}

/* Returns the objects of one type in a stream. */
inline std::vector<nlohmann::json> objects_of(const std::string &lines, std::string_view type)
{
	std::vector<nlohmann::json> objects;
	for (nlohmann::json &object : objects_of(lines)) {
		if (object["type"] == type)
			objects.push_back(std::move(object));
	}
	return objects;
}

struct Result {
	int status;
	std::string out;
	std::string err;
};

class CommandTest : public testing::Test, protected ModuleFiles {
protected:
	void SetUp() override
	{
		for (const auto name : kChannelNames)
			put("zem/" + std::string(name), "");
		for (const Family &family : kFamilies)
			put("zem/" + std::string(family.attribute), "1\n");
		put("zem/cgroup_interval", "0\n");
		put("zem/display_interval", "10\n");
		put("zem/trace_on", "1\n");
		put("zem/rb_size", "8192\n");
		put("zem/trigger", "");
		show_records({});
	}

	/* Sets the contents of the shared buffer and the result of a hand-back. */
	void show_records(const ByteVector &bytes) const
	{
		std::string buffer(reinterpret_cast<const char *>(bytes.data()), bytes.size());
		buffer.resize(ZEM_SHARED_SIZE);
		put("shared", buffer);
		const auto size = static_cast<std::uint32_t>(bytes.size());
		put("zem/trace", size == 0 ? std::string_view() :
					     std::string_view(reinterpret_cast<const char *>(&size),
							      sizeof(size)));
	}

	std::string zemctl() const
	{
		return std::string(ZEMCTL_BINARY) +
		       " --sysfs zem --device shared --proc proc --module module --socket socket ";
	}

	/* Runs @script, in which $zemctl stands for the program and its paths. */
	Result shell(const std::string &script) const
	{
		const std::string command = "cd " + root.string() + "; zemctl='" + zemctl() +
					    "'; { " + script + "\n} >out 2>err </dev/null";
		const int status = std::system(command.c_str());
		return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, get("out"), get("err")};
	}

	Result run(const std::string &arguments) const { return shell("$zemctl " + arguments); }

	/* Runs on a terminal, on which lines end with a carriage return, too. */
	std::string on_terminal(int columns, const std::string &arguments) const
	{
		const Result result =
			shell("LC_ALL=C.UTF-8 script -qec \"stty cols " + std::to_string(columns) +
			      "; $zemctl " + arguments + "\" /dev/null | tr -d '\\r'");
		return result.err + result.out;
	}
};

} // namespace zemctl

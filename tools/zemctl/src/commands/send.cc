// SPDX-License-Identifier: GPL-2.0
/*
 * zemctl send: one record from user space, its payload byte for byte what was given.
 */
#include "commands.h"

#include <array>
#include <cerrno>
#include <cstdio>

#include <fcntl.h>
#include <unistd.h>

#include <fmt/format.h>

#include "../channels.h"
#include "../errors.h"
#include "../file_descriptor.h"
#include "../sysfs.h"

namespace zemctl {

namespace {

constexpr std::string_view kStandardInput = "standard input";

/* One byte more than a record takes shows that there is too much. */
std::string read_payload(int fd, std::string_view name)
{
	std::array<char, ZEM_STORE_MAX + 1> bytes;
	std::size_t size = 0;
	while (size < bytes.size()) {
		const ssize_t got = ::read(fd, bytes.data() + size, bytes.size() - size);
		if (got < 0 && errno != EINTR)
			throw system_failure(name, errno);
		if (got == 0)
			break;
		if (got > 0)
			size += static_cast<std::size_t>(got);
	}
	return std::string(bytes.data(), size);
}

std::string read_file(const std::string &path)
{
	const FileDescriptor fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
	if (!fd.is_open())
		throw system_failure(path, errno);
	return read_payload(fd.get(), path);
}

std::string payload_of(const SendOptions &options)
{
	if (options.file)
		return read_file(*options.file);
	if (options.text && *options.text != "-")
		return *options.text;
	if (!options.text && ::isatty(STDIN_FILENO) == 1)
		throw usage_failure("send: give TEXT, --file FILE, or - for standard input");
	return read_payload(STDIN_FILENO, kStandardInput);
}

} // namespace

int run_send(const Paths &paths, const SendOptions &options)
{
	if (!channel_by_name(options.channel))
		throw usage_failure(fmt::format("{}: no such channel", options.channel));

	const std::string payload = payload_of(options);
	/* sysfs drops an empty write before the module sees it. */
	if (payload.empty())
		throw usage_failure("send: nothing to send, a record needs at least 1 byte");
	if (payload.size() > ZEM_STORE_MAX)
		throw usage_failure(
			fmt::format("send: the payload is longer than {} bytes", ZEM_STORE_MAX));

	const ControlNode node(paths.sysfs);
	node.write(options.channel, payload);
	if (node.read_number("trace_on") == 0)
		fmt::print(stderr, "zemctl: trace is off: the module dropped the record\n");
	return kStatusSuccess;
}

} // namespace zemctl

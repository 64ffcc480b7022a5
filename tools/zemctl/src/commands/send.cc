// SPDX-License-Identifier: GPL-2.0
/*
 * zemctl send: sends one record from user space with exactly the bytes that the user gives.
 */
#include "commands/commands.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <memory>

#include <fcntl.h>
#include <unistd.h>

#include <fmt/format.h>

#include "base/errors.h"
#include "base/open_file.h"
#include "commands/options.h"
#include "kernel/control_node.h"
#include "records/channels.h"

namespace zemctl {

namespace {

struct SendOptions {
	std::string channel;
	std::optional<std::string> text; /* "-" stands for standard input */
	std::optional<std::string> file;
};

constexpr std::string_view kStandardInput = "standard input";

/* Reads one byte more than a record may have, to detect an input that is too long. */
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
	return read_payload(open_file(path).get(), path);
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

int run_send(const Paths &paths, const SendOptions &options)
{
	if (!channel_by_name(options.channel))
		throw usage_failure(fmt::format("{}: no such channel", options.channel));

	const std::string payload = payload_of(options);
	/* sysfs does not pass an empty write to the module. */
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

} // namespace

void add_send(CLI::App &app, CommandLine &line)
{
	const auto options = std::make_shared<SendOptions>();
	CLI::App *command = app.add_subcommand(
		"send", fmt::format("Send one record of 1 to {} bytes, which are not changed",
				    ZEM_STORE_MAX));
	command->add_option("CHANNEL", options->channel, "The channel")
		->required()
		->check(is_channel());
	CLI::Option *text = command->add_option("TEXT", options->text,
						"The payload; - or no TEXT: from standard input");
	command->add_option("--file", options->file, "Read the payload from this file")
		->excludes(text);
	runs(*command, line, [options](const Paths &paths) { return run_send(paths, *options); });
}

} // namespace zemctl

/* SPDX-License-Identifier: GPL-2.0 */
/*
 * How commands fail: a Failure carries the message for the user and the exit status. Only
 * run_command_line() reports it, with the program's name in front.
 */
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace zemctl {

inline constexpr int kStatusSuccess = 0;
inline constexpr int kStatusFailure = 1;
inline constexpr int kStatusUsage = 2;

class Failure : public std::runtime_error {
public:
	explicit Failure(const std::string &message, int status = kStatusFailure)
		: std::runtime_error(message), status_(status)
	{
	}

	int status() const { return status_; }

private:
	int status_;
};

/* A Failure about @path from an errno value: "/sys/zem/rb_size: Invalid argument". */
Failure system_failure(std::string_view path, int error);

/* A mistake on the command line: the exit status is kStatusUsage. */
Failure usage_failure(const std::string &message);

/* Thrown if the output has no reader any more. A command ends with success unless it records. */
struct BrokenPipe {};

} // namespace zemctl

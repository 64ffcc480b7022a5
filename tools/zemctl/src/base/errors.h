/* SPDX-License-Identifier: GPL-2.0 */
/*
 * How commands fail: a Failure carries the message for the user and the exit status. main()
 * alone catches it and puts the program's name in front.
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

/* What @error (an errno value) says about @path: "/sys/zem/rb_size: Invalid argument". */
Failure system_failure(std::string_view path, int error);

/* A mistake that the command line alone shows. */
Failure usage_failure(const std::string &message);

/* Nobody reads our output any more: the end of the program, but not a failure. */
struct BrokenPipe {};

} // namespace zemctl

/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The terminal while zemctl top fills it: without the cursor, on the alternate screen, and with
 * keys that arrive one by one. The destructor restores the terminal.
 */
#pragma once

#include <optional>
#include <string>

#include <termios.h>

#include "base/file_descriptor.h"
#include "text/output.h"
#include "top/panels.h"

namespace zemctl {

class FullScreen {
public:
	/*
	 * Takes the keys from standard input, or from the terminal of the session if standard input
	 * is none. Throws a Failure without a terminal that can show screens.
	 */
	FullScreen();
	~FullScreen();
	FullScreen(const FullScreen &) = delete;
	FullScreen &operator=(const FullScreen &) = delete;

	TopSize size() const;
	int key_fd() const { return key_fd_; }
	/* Returns the bytes of new keys, or nothing if the terminal is gone. Does not wait. */
	std::optional<std::string> read_keys() const;
	/* Shows @rows, which fill a terminal of that size. */
	void show(const std::string &rows, const TopSize &size);
	/* Restores the terminal. */
	void close() noexcept;

	/* Throws the Failure of the constructor, before anything is changed. */
	static void check();

private:
	FileDescriptor terminal_; /* if standard input is no terminal */
	int key_fd_;
	termios before_ = {};
	Output output_;
	TopSize shown_ = {0, 0};
	bool is_open_ = false;
};

} // namespace zemctl

// SPDX-License-Identifier: GPL-2.0
/*
 * The terminal while zemctl top fills it. The sequences are those that all terminals of today
 * share: a phone has no database of terminals.
 */
#include "top/full_screen.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <string_view>

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "base/errors.h"

namespace zemctl {

namespace {

constexpr std::string_view kEnter = "\x1b[?1049h\x1b[?25l\x1b[2J";
constexpr std::string_view kLeave = "\x1b[0m\x1b[?25h\x1b[?1049l";
constexpr std::string_view kClear = "\x1b[2J";
constexpr std::string_view kToFirstCell = "\x1b[H";

/* Keys arrive without Enter and without an echo. Ctrl-C remains the signal; others do not. */
termios for_keys(termios settings)
{
	settings.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO | IEXTEN);
	settings.c_iflag &= ~static_cast<tcflag_t>(IXON);
	settings.c_cc[VSUSP] = _POSIX_VDISABLE;
	settings.c_cc[VQUIT] = _POSIX_VDISABLE;
	settings.c_cc[VMIN] = 0;
	settings.c_cc[VTIME] = 0;
	return settings;
}

} // namespace

void FullScreen::check()
{
	if (::isatty(STDOUT_FILENO) != 1)
		throw Failure("top: standard output is no terminal; --once prints a screen");
	const char *terminal = std::getenv("TERM");
	if (terminal != nullptr && std::string_view(terminal) == "dumb")
		throw Failure("top: the terminal (TERM=dumb) cannot show screens; --once "
			      "prints one");
}

FullScreen::FullScreen() : key_fd_(STDIN_FILENO), output_(STDOUT_FILENO, "standard output")
{
	check();
	if (::isatty(STDIN_FILENO) != 1) {
		terminal_ = FileDescriptor{::open("/dev/tty", O_RDWR | O_CLOEXEC)};
		if (!terminal_.is_open())
			throw Failure("top: no terminal for keys; --once prints a screen");
		key_fd_ = terminal_.get();
	}
	if (::tcgetattr(key_fd_, &before_) != 0)
		throw system_failure("the terminal", errno);
	const termios settings = for_keys(before_);
	if (::tcsetattr(key_fd_, TCSADRAIN, &settings) != 0)
		throw system_failure("the terminal", errno);
	is_open_ = true;
	try {
		output_.append(kEnter);
		output_.flush();
	} catch (...) {
		close();
		throw;
	}
}

FullScreen::~FullScreen()
{
	close();
}

void FullScreen::close() noexcept
{
	if (!is_open_)
		return;
	is_open_ = false;
	/* A terminal that is gone needs no restoration. */
	[[maybe_unused]] const ssize_t written =
		::write(STDOUT_FILENO, kLeave.data(), kLeave.size());
	::tcsetattr(key_fd_, TCSADRAIN, &before_);
}

TopSize FullScreen::size() const
{
	winsize size = {};
	if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0 || size.ws_row == 0)
		return {80, 24};
	return {size.ws_col, size.ws_row};
}

std::optional<std::string> FullScreen::read_keys() const
{
	pollfd event = {key_fd_, POLLIN, 0};
	if (::poll(&event, 1, 0) <= 0)
		return std::string();
	std::array<char, 256> bytes;
	const ssize_t size = ::read(key_fd_, bytes.data(), bytes.size());
	if (size < 0 && (errno == EINTR || errno == EAGAIN))
		return std::string();
	if (size <= 0)
		return std::nullopt;
	return std::string(bytes.data(), static_cast<std::size_t>(size));
}

void FullScreen::show(const std::string &rows, const TopSize &size)
{
	if (size.columns != shown_.columns || size.rows != shown_.rows)
		output_.append(kClear);
	shown_ = size;
	output_.append(kToFirstCell);
	output_.append(rows);
	output_.flush();
}

} // namespace zemctl

// SPDX-License-Identifier: GPL-2.0
/*
 * The Unix socket of zemctl serve.
 */
#include "serve/unix_socket.h"

#include <cerrno>
#include <optional>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <fmt/format.h>

#include "base/errors.h"

namespace zemctl {

namespace {

constexpr int kBacklog = 16;
/* The group of the server may connect. */
constexpr mode_t kSocketUmask = 0117;

/* Returns nothing if @path is too long for an address. */
std::optional<sockaddr_un> address_of(const std::string &path)
{
	sockaddr_un address = {};
	address.sun_family = AF_UNIX;
	if (path.empty() || path.size() >= sizeof(address.sun_path))
		return std::nullopt;
	path.copy(address.sun_path, sizeof(address.sun_path) - 1);
	return address;
}

const sockaddr *generic(const sockaddr_un &address)
{
	return reinterpret_cast<const sockaddr *>(&address);
}

} // namespace

UnixListener::UnixListener(std::string path)
	: path_(std::move(path)),
	  socket_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0))
{
	if (!socket_.is_open())
		throw system_failure(path_, errno);
	const auto address = address_of(path_);
	if (!address)
		throw system_failure(path_, ENAMETOOLONG);
	struct stat status;
	if (::lstat(path_.c_str(), &status) == 0 && S_ISSOCK(status.st_mode))
		::unlink(path_.c_str());
	const mode_t before = ::umask(kSocketUmask);
	const int bound = ::bind(socket_.get(), generic(*address), sizeof(*address));
	const int error = errno;
	::umask(before);
	if (bound != 0)
		throw system_failure(path_, error);
	if (::listen(socket_.get(), kBacklog) != 0)
		throw system_failure(path_, errno);
}

UnixListener::~UnixListener()
{
	::unlink(path_.c_str());
}

FileDescriptor UnixListener::accept() const
{
	return FileDescriptor(::accept4(socket_.get(), nullptr, nullptr, SOCK_CLOEXEC));
}

FileDescriptor connect_to_server(const std::string &path)
{
	const auto address = address_of(path);
	if (!address)
		return {};
	FileDescriptor connection(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
	if (!connection.is_open() ||
	    ::connect(connection.get(), generic(*address), sizeof(*address)) != 0)
		return {};
	return connection;
}

std::optional<std::uint32_t> server_pid(const FileDescriptor &connection)
{
	ucred server = {};
	socklen_t size = sizeof(server);
	if (::getsockopt(connection.get(), SOL_SOCKET, SO_PEERCRED, &server, &size) != 0 ||
	    server.pid <= 0)
		return std::nullopt;
	return static_cast<std::uint32_t>(server.pid);
}

} // namespace zemctl

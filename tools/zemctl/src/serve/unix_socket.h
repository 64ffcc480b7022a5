/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The Unix socket on which zemctl serve offers records.
 */
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "base/file_descriptor.h"

namespace zemctl {

/* Accepts connections at @path until the end of this object, which removes the file. */
class UnixListener {
public:
	/*
	 * Replaces the socket of a server that was killed. Context: the caller is the only server,
	 * see ReaderLock.
	 */
	explicit UnixListener(std::string path);
	~UnixListener();
	UnixListener(const UnixListener &) = delete;
	UnixListener &operator=(const UnixListener &) = delete;

	int fd() const { return socket_.get(); }
	/* Returns a closed descriptor if no connection waits. Writes to it may block. */
	FileDescriptor accept() const;

private:
	std::string path_;
	FileDescriptor socket_;
};

/*
 * Connects to the server at @path. Return: a closed descriptor if there is none, or if this user
 * may not connect.
 */
FileDescriptor connect_to_server(const std::string &path);

/* Returns the pid of the server, or nothing if the server is not visible in this PID namespace. */
std::optional<std::uint32_t> server_pid(const FileDescriptor &connection);

} // namespace zemctl

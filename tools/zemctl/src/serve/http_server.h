/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Answers HTTP requests, one on each connection. Every connection has a limit of time and of
 * memory, so clients cannot keep the server busy. Context: one thread, which polls.
 */
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include <poll.h>

#include "base/file_descriptor.h"
#include "serve/http_request.h"

namespace zemctl {

class HttpServer {
public:
	using Clock = std::chrono::steady_clock;
	using Handler = std::function<HttpResponse(const HttpRequest &)>;

	/* The connections that are served at the same time. Others wait in the kernel. */
	static constexpr std::size_t kConnections = 16;

	/*
	 * Listens at @address, "127.0.0.1:9464" or "[::1]:9464". The port 0 stands for a free one.
	 * @handler gets valid requests.
	 */
	HttpServer(const std::string &address, Handler handler,
		   std::chrono::nanoseconds time_limit = std::chrono::seconds(10));

	/* The address with the port in use. */
	const std::string &address() const { return address_; }

	/* Appends what the server waits for. */
	void add_polls(std::vector<pollfd> &polls) const;
	/* When handle() has to be called though nothing happens, or nothing. */
	std::optional<Clock::time_point> deadline() const;
	/* Continues after poll(). @polls are those of add_polls(). */
	void handle(std::span<const pollfd> polls);

	/* The number of responses with the code 200, and with other codes. */
	std::uint64_t answered() const { return answered_; }
	std::uint64_t refused() const { return refused_; }

private:
	struct Connection {
		FileDescriptor socket;
		Clock::time_point deadline;
		std::string in;
		std::string out;
		std::size_t sent = 0;
		std::size_t drained = 0;
		enum class State { kReading, kWriting, kDraining, kClosed } state = State::kReading;
	};

	void accept();
	void read(Connection &connection);
	void write(Connection &connection) const;
	void drain(Connection &connection) const;
	void respond(Connection &connection, const HttpRequest &request);
	void end_late(Connection &connection);

	Handler handler_;
	std::chrono::nanoseconds time_limit_;
	FileDescriptor listener_;
	std::string address_;
	std::vector<Connection> connections_;
	std::uint64_t answered_ = 0;
	std::uint64_t refused_ = 0;
};

} // namespace zemctl

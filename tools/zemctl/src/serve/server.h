/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The thread of zemctl serve that accepts clients of the stream, answers HTTP requests and writes
 * the file with the metrics.
 */
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <poll.h>

#include "base/file_descriptor.h"
#include "serve/http_server.h"
#include "serve/hub.h"
#include "serve/text_file.h"
#include "serve/unix_socket.h"

namespace zemctl {

struct ServerOptions {
	std::string socket;
	std::string listen = "127.0.0.1:9464"; /* "": no HTTP */
	std::string text_folder; /* "": no file */
	std::chrono::nanoseconds text_interval = std::chrono::seconds(15);
};

class Server {
public:
	/* Opens everything, then starts the thread. */
	Server(Hub &hub, const ServerOptions &options);
	/* Ends the streams in order, and removes the socket and the file. */
	~Server();
	Server(const Server &) = delete;
	Server &operator=(const Server &) = delete;

	/* The address of HTTP with the port in use, or "". */
	std::string http_address() const { return http_ ? http_->address() : ""; }

private:
	using Clock = std::chrono::steady_clock;

	static constexpr auto kFinishTime = std::chrono::seconds(2);

	HttpResponse respond(const HttpRequest &request) const;
	ServerCounts counts() const;
	void run();
	void handle_stream(std::span<const pollfd> polls, std::span<const int> clients);
	void write_file();
	int poll_timeout() const;

	Hub &hub_;
	std::chrono::nanoseconds text_interval_;
	UnixListener streams_;
	std::optional<HttpServer> http_;
	std::optional<MetricsFile> file_;
	Clock::time_point next_file_ = Clock::now();
	bool file_fails_ = false;
	FileDescriptor stop_;
	std::thread thread_;
};

} // namespace zemctl

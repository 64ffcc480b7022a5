// SPDX-License-Identifier: GPL-2.0
/*
 * Answers HTTP requests.
 */
#include "serve/http_server.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <optional>
#include <utility>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <fmt/format.h>

#include "base/errors.h"
#include "text/words.h"

namespace zemctl {

namespace {

constexpr int kHttpBacklog = 64;
/* The body of a request that is read after the response, so that the client can read the response.
 */
constexpr std::size_t kDrainMax = 65536;

/* Room for an address of either family. */
struct SocketAddress {
	union {
		sockaddr generic;
		sockaddr_in v4;
		sockaddr_in6 v6;
	};
	socklen_t size;
};

/* The host is a number: name resolution needs more than a static program has. */
std::optional<SocketAddress> parse_address(const std::string &text)
{
	const std::size_t colon = text.rfind(':');
	if (colon == std::string::npos)
		return std::nullopt;
	std::string host = text.substr(0, colon);
	const auto port = parse_number<std::uint16_t>(std::string_view(text).substr(colon + 1));
	SocketAddress address = {};
	if (!port)
		return std::nullopt;
	if (host.size() > 2 && host.front() == '[' && host.back() == ']') {
		host = host.substr(1, host.size() - 2);
		address.v6.sin6_family = AF_INET6;
		address.v6.sin6_port = htons(*port);
		address.size = sizeof(address.v6);
		if (::inet_pton(AF_INET6, host.c_str(), &address.v6.sin6_addr) != 1)
			return std::nullopt;
		return address;
	}
	address.v4.sin_family = AF_INET;
	address.v4.sin_port = htons(*port);
	address.size = sizeof(address.v4);
	if (::inet_pton(AF_INET, host.c_str(), &address.v4.sin_addr) != 1)
		return std::nullopt;
	return address;
}

std::uint16_t port_of(int fd)
{
	SocketAddress address = {};
	address.size = sizeof(address.v6);
	if (::getsockname(fd, &address.generic, &address.size) != 0)
		return 0;
	return ntohs(address.generic.sa_family == AF_INET6 ? address.v6.sin6_port :
							     address.v4.sin_port);
}

FileDescriptor listen_at(const std::string &text)
{
	const auto address = parse_address(text);
	if (!address)
		throw usage_failure(fmt::format(
			"--listen: {} is not an address as 127.0.0.1:9464 or [::1]:9464", text));
	FileDescriptor listener(::socket(address->generic.sa_family,
					 SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
	const int on = 1;
	if (!listener.is_open() ||
	    ::setsockopt(listener.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on)) != 0 ||
	    ::bind(listener.get(), &address->generic, address->size) != 0 ||
	    ::listen(listener.get(), kHttpBacklog) != 0)
		throw system_failure(text, errno);
	return listener;
}

bool would_block()
{
	return errno == EAGAIN || errno == EINTR;
}

} // namespace

HttpServer::HttpServer(const std::string &address, Handler handler,
		       std::chrono::nanoseconds time_limit)
	: handler_(std::move(handler)), time_limit_(time_limit), listener_(listen_at(address)),
	  address_(fmt::format("{}:{}", address.substr(0, address.rfind(':')),
			       port_of(listener_.get())))
{
}

void HttpServer::add_polls(std::vector<pollfd> &polls) const
{
	const bool has_room = connections_.size() < kConnections;
	polls.push_back({listener_.get(), static_cast<short>(has_room ? POLLIN : 0), 0});
	for (const Connection &connection : connections_) {
		const bool writes = connection.state == Connection::State::kWriting;
		polls.push_back({connection.socket.get(),
				 static_cast<short>(writes ? POLLOUT : POLLIN), 0});
	}
}

std::optional<HttpServer::Clock::time_point> HttpServer::deadline() const
{
	if (connections_.empty())
		return std::nullopt;
	return std::ranges::min_element(connections_, {}, &Connection::deadline)->deadline;
}

void HttpServer::handle(std::span<const pollfd> polls)
{
	for (std::size_t i = 0; i < connections_.size(); i++) {
		Connection &connection = connections_[i];
		if (Clock::now() >= connection.deadline)
			end_late(connection);
		else if (polls[i + 1].revents == 0)
			continue;
		else if (connection.state == Connection::State::kReading)
			read(connection);
		else if (connection.state == Connection::State::kWriting)
			write(connection);
		else
			drain(connection);
	}
	std::erase_if(connections_, [](const Connection &connection) {
		return connection.state == Connection::State::kClosed;
	});
	if (polls[0].revents != 0)
		accept();
}

void HttpServer::accept()
{
	while (connections_.size() < kConnections) {
		FileDescriptor socket(
			::accept4(listener_.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
		if (!socket.is_open())
			return;
		Connection connection;
		connection.socket = std::move(socket);
		connection.deadline = Clock::now() + time_limit_;
		connections_.push_back(std::move(connection));
	}
}

/* A client that is late with its request gets a response, others are cut off. */
void HttpServer::end_late(Connection &connection)
{
	if (connection.state != Connection::State::kReading || connection.in.empty()) {
		connection.state = Connection::State::kClosed;
		return;
	}
	refused_++;
	connection.out = response_bytes(plain_response(HttpStatus::kTimeout), false);
	write(connection);
	connection.state = Connection::State::kClosed;
}

void HttpServer::read(Connection &connection)
{
	std::array<char, 4096> bytes;
	const ssize_t size = ::recv(connection.socket.get(), bytes.data(), bytes.size(), 0);
	if (size < 0 && would_block())
		return;
	if (size <= 0) {
		connection.state = Connection::State::kClosed;
		return;
	}
	connection.in.append(bytes.data(), static_cast<std::size_t>(size));
	if (const auto request = parse_request(connection.in))
		respond(connection, *request);
}

void HttpServer::respond(Connection &connection, const HttpRequest &request)
{
	const HttpResponse response = request.status == HttpStatus::kOk ?
					      handler_(request) :
					      plain_response(request.status);
	(response.status == HttpStatus::kOk ? answered_ : refused_)++;
	connection.out = response_bytes(response, request.is_head);
	connection.state = Connection::State::kWriting;
	write(connection);
}

void HttpServer::write(Connection &connection) const
{
	const std::string_view rest = std::string_view(connection.out).substr(connection.sent);
	const ssize_t size =
		::send(connection.socket.get(), rest.data(), rest.size(), MSG_NOSIGNAL);
	if (size < 0) {
		if (!would_block())
			connection.state = Connection::State::kClosed;
		return;
	}
	connection.sent += static_cast<std::size_t>(size);
	if (connection.sent < connection.out.size())
		return;
	::shutdown(connection.socket.get(), SHUT_WR);
	connection.out.clear();
	connection.out.shrink_to_fit();
	connection.sent = 0;
	connection.state = Connection::State::kDraining;
}

/* A connection that is closed with unread bytes would reset, and the client lose the response. */
void HttpServer::drain(Connection &connection) const
{
	std::array<char, 4096> bytes;
	const ssize_t size = ::recv(connection.socket.get(), bytes.data(), bytes.size(), 0);
	if (size < 0 && would_block())
		return;
	if (size > 0)
		connection.drained += static_cast<std::size_t>(size);
	if (size <= 0 || connection.drained > kDrainMax)
		connection.state = Connection::State::kClosed;
}

} // namespace zemctl

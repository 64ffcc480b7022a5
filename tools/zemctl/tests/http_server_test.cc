// SPDX-License-Identifier: GPL-2.0
/*
 * The HTTP server on the loopback interface: what clients of every kind get, and that none of them
 * keeps the server from others.
 */
#include <array>
#include <cstdlib>
#include <functional>

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include "failure_of.h"
#include "serve/http_server.h"
#include "text/words.h"

namespace zemctl {

namespace {

/* A client that never waits. */
class HttpClient {
public:
	explicit HttpClient(const HttpServer &server, int receive_buffer = 0)
		: socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
	{
		if (receive_buffer > 0)
			::setsockopt(socket_.get(), SOL_SOCKET, SO_RCVBUF, &receive_buffer,
				     sizeof(receive_buffer));
		sockaddr_in address = {};
		address.sin_family = AF_INET;
		address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
		const std::string text = server.address();
		address.sin_port = htons(static_cast<std::uint16_t>(
			std::atoi(text.substr(text.rfind(':') + 1).c_str())));
		EXPECT_EQ(::connect(socket_.get(), reinterpret_cast<const sockaddr *>(&address),
				    sizeof(address)),
			  0);
	}

	void send(std::string_view bytes) const
	{
		EXPECT_EQ(::send(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL),
			  static_cast<ssize_t>(bytes.size()));
	}

	/* Returns the number of bytes that the connection takes without waiting. */
	std::size_t send_what_fits() const
	{
		const std::string bytes(4096, 'x');
		const ssize_t size = ::send(socket_.get(), bytes.data(), bytes.size(),
					    MSG_NOSIGNAL | MSG_DONTWAIT);
		return size < 0 ? 0 : static_cast<std::size_t>(size);
	}

	/* Return: whether the server has closed the connection. */
	bool receive()
	{
		std::array<char, 65536> bytes;
		ssize_t size;
		while ((size = ::recv(socket_.get(), bytes.data(), bytes.size(), MSG_DONTWAIT)) > 0)
			received.append(bytes.data(), static_cast<std::size_t>(size));
		return size == 0 || (errno != EAGAIN && errno != EINTR);
	}

	void close() { socket_ = FileDescriptor(); }

	std::string received;

private:
	FileDescriptor socket_;
};

class HttpServerTest : public testing::Test {
protected:
	explicit HttpServerTest(std::chrono::nanoseconds time_limit = std::chrono::minutes(1))
		: server(
			  "127.0.0.1:0",
			  [this](const HttpRequest &request) {
				  return request.path == "/metrics" ?
						 HttpResponse{.body = body_} :
						 plain_response(HttpStatus::kNotFound);
			  },
			  time_limit)
	{
	}

	/* Runs the server until @condition holds. */
	void run_until(const std::function<bool()> &condition)
	{
		while (!condition()) {
			std::vector<pollfd> polls;
			server.add_polls(polls);
			::poll(polls.data(), polls.size(), 10);
			server.handle(polls);
		}
	}

	/* Returns the first line of the response to @bytes. */
	std::string answer_to(const std::string &bytes)
	{
		HttpClient client(server);
		client.send(bytes);
		run_until([&] { return client.receive(); });
		last_ = client.received;
		return last_.substr(0, last_.find("\r\n"));
	}

	HttpServer server;
	std::string body_ = "hello\n";
	std::string last_;
};

class HttpDeadlineTest : public HttpServerTest {
protected:
	HttpDeadlineTest() : HttpServerTest(std::chrono::milliseconds(200)) {}
};

constexpr std::string_view kGetMetrics = "GET /metrics HTTP/1.1\r\nHost: a\r\n\r\n";

} // namespace

TEST_F(HttpServerTest, wants_to_be_called_only_for_its_connections)
{
	EXPECT_FALSE(server.deadline());
	const auto before = HttpServer::Clock::now();
	HttpClient client(server);
	run_until([this] { return server.deadline().has_value(); });
	EXPECT_GE(*server.deadline(), before + std::chrono::minutes(1));
	client.close();
	run_until([this] { return !server.deadline(); });
}

TEST_F(HttpServerTest, each_request_gets_the_response_that_it_deserves)
{
	EXPECT_EQ(answer_to(std::string(kGetMetrics)), "HTTP/1.1 200 OK");
	EXPECT_TRUE(last_.ends_with("\r\n\r\nhello\n")) << last_;
	EXPECT_EQ(answer_to("HEAD /metrics HTTP/1.1\r\nHost: a\r\n\r\n"), "HTTP/1.1 200 OK");
	EXPECT_TRUE(last_.ends_with("\r\n\r\n")) << last_;
	EXPECT_EQ(answer_to("GET /x HTTP/1.1\r\nHost: a\r\n\r\n"), "HTTP/1.1 404 Not Found");
	EXPECT_EQ(answer_to("PUT /metrics HTTP/1.1\r\nHost: a\r\n\r\n"),
		  "HTTP/1.1 405 Method Not Allowed");
	EXPECT_EQ(answer_to("what?\r\n\r\n"), "HTTP/1.1 400 Bad Request");
	EXPECT_EQ(answer_to(std::string(9000, 'x')),
		  "HTTP/1.1 431 Request Header Fields Too Large");
	EXPECT_EQ(server.answered(), 2u);
	EXPECT_EQ(server.refused(), 4u);
}

TEST_F(HttpServerTest, a_request_may_arrive_byte_by_byte)
{
	HttpClient client(server);
	std::size_t sent = 0;
	run_until([&] {
		if (sent < kGetMetrics.size())
			client.send(kGetMetrics.substr(sent++, 1));
		return client.receive();
	});
	EXPECT_TRUE(client.received.starts_with("HTTP/1.1 200 ")) << client.received;
}

TEST_F(HttpServerTest, a_client_that_sends_a_body_can_read_its_response)
{
	EXPECT_EQ(answer_to("POST / HTTP/1.1\r\nHost: a\r\nContent-Length: 30000\r\n\r\n" +
			    std::string(30'000, 'x')),
		  "HTTP/1.1 405 Method Not Allowed");
}

TEST_F(HttpServerTest, a_client_that_sends_on_after_its_response_is_cut_off)
{
	HttpClient client(server);
	client.send(kGetMetrics);
	std::size_t sent = 0;
	constexpr std::size_t kFar = 50'000'000;
	run_until([&] {
		client.receive();
		sent += client.send_what_fits();
		return sent > kFar || (!client.received.empty() && !server.deadline());
	});
	EXPECT_LT(sent, kFar);
}

TEST_F(HttpServerTest, a_response_that_is_larger_than_all_buffers_arrives_whole)
{
	body_.assign(20'000'000, 'x');
	HttpClient client(server);
	client.send(kGetMetrics);
	run_until([&] { return client.receive(); });
	EXPECT_EQ(client.received.size() - client.received.find("\r\n\r\n") - 4, body_.size());
}

TEST_F(HttpServerTest, a_client_that_disconnects_within_a_response_is_forgotten)
{
	body_.assign(20'000'000, 'x');
	HttpClient client(server, 4096);
	client.send(kGetMetrics);
	run_until([&] {
		client.receive();
		return !client.received.empty();
	});
	client.close();
	body_ = "next";
	EXPECT_EQ(answer_to(std::string(kGetMetrics)), "HTTP/1.1 200 OK");
	run_until([&] {
		std::vector<pollfd> polls;
		server.add_polls(polls);
		return polls.size() == 1;
	});
}

TEST_F(HttpDeadlineTest, a_client_that_sends_no_request_is_answered_and_cut_off)
{
	HttpClient silent(server), slow(server);
	slow.send("GET /metr");
	run_until([&] { return silent.receive() && slow.receive(); });
	EXPECT_EQ(silent.received, "");
	EXPECT_TRUE(slow.received.starts_with("HTTP/1.1 408 ")) << slow.received;
}

TEST_F(HttpDeadlineTest, idle_connections_keep_others_waiting_only_until_their_time_is_over)
{
	std::vector<std::unique_ptr<HttpClient>> idle;
	for (std::size_t i = 0; i < HttpServer::kConnections + 5; i++)
		idle.push_back(std::make_unique<HttpClient>(server));
	std::vector<pollfd> polls;
	EXPECT_EQ(answer_to(std::string(kGetMetrics)), "HTTP/1.1 200 OK");
	server.add_polls(polls);
	EXPECT_LE(polls.size(), HttpServer::kConnections + 1);
}

TEST_F(HttpServerTest, does_not_want_to_be_called_for_connections_beyond_its_number)
{
	std::vector<std::unique_ptr<HttpClient>> idle;
	for (std::size_t i = 0; i <= HttpServer::kConnections; i++)
		idle.push_back(std::make_unique<HttpClient>(server));
	std::vector<pollfd> polls;
	run_until([&] {
		polls.clear();
		server.add_polls(polls);
		return polls.size() == HttpServer::kConnections + 1;
	});
	EXPECT_EQ(polls[0].events, 0);
}

TEST(HttpAddressTest, an_address_is_a_number_with_a_port)
{
	const auto failure = [](const std::string &address) {
		return failure_of([&] { HttpServer(address, {}); });
	};
	for (const char *address : {"", "9464", "127.0.0.1", "127.0.0.1:", "127.0.0.1:65536",
				    "localhost:9464", "[::1:0", "::1:0", "127.0.0.1:+1"})
		EXPECT_NE(failure(address).find("is not an address"), std::string::npos)
			<< address << ": " << failure(address);
	EXPECT_EQ(failure("127.0.0.1:0"), "none");
	const HttpServer first("127.0.0.1:0", {});
	EXPECT_EQ(failure(first.address()), first.address() + ": Address already in use");
}

} // namespace zemctl

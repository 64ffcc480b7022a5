// SPDX-License-Identifier: GPL-2.0
/*
 * Heads of HTTP requests: what is understood, and the answer to everything else.
 */
#include <gtest/gtest.h>

#include "serve/http_request.h"

namespace zemctl {

namespace {

HttpStatus status_of(const std::string &bytes)
{
	const auto request = parse_request(bytes);
	EXPECT_TRUE(request.has_value()) << bytes;
	return request ? request->status : HttpStatus::kOk;
}

HttpStatus status_of_line(const std::string &line)
{
	return status_of(line + "\r\nHost: a\r\n\r\n");
}

HttpStatus status_of_header(const std::string &line)
{
	return status_of("GET / HTTP/1.1\r\nHost: a\r\n" + line + "\r\n\r\n");
}

} // namespace

TEST(HttpRequestTest, a_request_has_a_path_without_its_query_and_what_it_accepts)
{
	const auto request = parse_request("GET /metrics?a=/b HTTP/1.1\r\nhOST: a\r\n"
					   "Accept: text/plain\r\naccept:x/y\r\n\r\nrest");
	ASSERT_TRUE(request);
	EXPECT_EQ(request->status, HttpStatus::kOk);
	EXPECT_FALSE(request->is_head);
	EXPECT_EQ(request->path, "/metrics");
	EXPECT_EQ(request->accept, " text/plain,x/y");
}

TEST(HttpRequestTest, a_head_request_is_one_without_a_body_in_the_response)
{
	const auto request = parse_request("HEAD / HTTP/1.0\r\n\r\n");
	ASSERT_TRUE(request);
	EXPECT_EQ(request->status, HttpStatus::kOk);
	EXPECT_TRUE(request->is_head);
	HttpResponse response;
	response.body = "hello";
	const std::string bytes = response_bytes(response, true);
	EXPECT_NE(bytes.find("Content-Length: 5\r\n"), std::string::npos);
	EXPECT_TRUE(bytes.ends_with("\r\n\r\n")) << bytes;
	EXPECT_TRUE(response_bytes(response, false).ends_with("\r\n\r\nhello"));
}

TEST(HttpRequestTest, a_head_without_its_end_needs_more_bytes)
{
	const std::string whole = "GET / HTTP/1.1\r\nHost: a\r\n\r\n";
	for (std::size_t size = 0; size < whole.size(); size++)
		EXPECT_FALSE(parse_request(whole.substr(0, size))) << size;
	EXPECT_TRUE(parse_request(whole));
}

TEST(HttpRequestTest, a_request_line_that_is_malformed_is_a_bad_request)
{
	for (const char *line :
	     {"", "GET", "GET /", "GET  / HTTP/1.1", " GET / HTTP/1.1", "G@T / HTTP/1.1",
	      "GET /\x01 HTTP/1.1", "GET / TELNET", "GET metrics HTTP/1.1",
	      "GET http://a/metrics HTTP/1.1", "\x16\x03\x01\x02"})
		EXPECT_EQ(status_of_line(line), HttpStatus::kBadRequest) << line;
	EXPECT_EQ(status_of_line("GET / HTTP/1.1"), HttpStatus::kOk);
}

TEST(HttpRequestTest, other_versions_are_refused)
{
	for (const char *line :
	     {"GET / HTTP/2.0", "GET / HTTP/0.9", "GET / HTTP/1.1 ", "GET / HTTP/1.10"})
		EXPECT_EQ(status_of_line(line), HttpStatus::kVersionNotSupported) << line;
}

TEST(HttpRequestTest, other_methods_are_not_allowed)
{
	for (const char *method : {"POST", "PUT", "DELETE", "OPTIONS", "get"})
		EXPECT_EQ(status_of_line(std::string(method) + " /metrics HTTP/1.1"),
			  HttpStatus::kMethodNotAllowed)
			<< method;
	EXPECT_NE(response_bytes(plain_response(HttpStatus::kMethodNotAllowed), false)
			  .find("\r\nAllow: GET, HEAD\r\n"),
		  std::string::npos);
}

TEST(HttpRequestTest, a_header_that_is_malformed_is_a_bad_request)
{
	for (const std::string &line :
	     {std::string("no colon"), std::string(": x"), std::string("a b: x"),
	      std::string("a : x"), std::string(" a: x"), std::string("a: \x01"),
	      std::string("a: b\0c", 6), std::string("a: b\nc: d"), std::string("a: b\rc")})
		EXPECT_EQ(status_of_header(line), HttpStatus::kBadRequest) << line;
	EXPECT_EQ(status_of_header("a:\tb"), HttpStatus::kOk);
}

TEST(HttpRequestTest, the_newer_version_needs_a_host)
{
	EXPECT_EQ(status_of("GET / HTTP/1.1\r\n\r\n"), HttpStatus::kBadRequest);
	EXPECT_EQ(status_of("GET / HTTP/1.0\r\n\r\n"), HttpStatus::kOk);
}

TEST(HttpRequestTest, a_head_has_a_limit)
{
	const std::string start = "GET / HTTP/1.1\r\nHost: a\r\nX: ";
	const auto head_of = [&](std::size_t size) {
		return start + std::string(size - start.size() - 4, 'x') + "\r\n\r\n";
	};
	EXPECT_EQ(status_of(head_of(kRequestHeadMax)), HttpStatus::kOk);
	EXPECT_EQ(status_of(head_of(kRequestHeadMax + 1)), HttpStatus::kHeadTooLarge);
	EXPECT_EQ(status_of(std::string(kRequestHeadMax, 'x')), HttpStatus::kHeadTooLarge);
	EXPECT_FALSE(parse_request(std::string(kRequestHeadMax - 1, 'x')));
}

} // namespace zemctl

/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Parses the head of an HTTP request, and writes responses. Each connection has one request.
 */
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace zemctl {

/* The largest head of a request. */
inline constexpr std::size_t kRequestHeadMax = 8192;

enum class HttpStatus {
	kOk = 200,
	kBadRequest = 400,
	kNotFound = 404,
	kMethodNotAllowed = 405,
	kTimeout = 408,
	kHeadTooLarge = 431,
	kVersionNotSupported = 505,
};

struct HttpRequest {
	HttpStatus status = HttpStatus::kOk; /* otherwise the fault of the request */
	bool is_head = false; /* the response has no body */
	std::string path; /* without the query */
	std::string accept;
};

/* Returns nothing if the end of the head is not in @bytes yet. */
std::optional<HttpRequest> parse_request(std::string_view bytes);

struct HttpResponse {
	HttpStatus status = HttpStatus::kOk;
	std::string type = "text/plain; charset=utf-8";
	std::string body;
};

/* Returns a response whose body is a line with the status. */
HttpResponse plain_response(HttpStatus status);

/* Returns the bytes of @response. The connection is closed after them. */
std::string response_bytes(const HttpResponse &response, bool is_head);

} // namespace zemctl

// SPDX-License-Identifier: GPL-2.0
/*
 * Parses the head of an HTTP request, and writes responses.
 */
#include "serve/http_request.h"

#include <algorithm>

#include <fmt/format.h>

#include "text/words.h"

namespace zemctl {

namespace {

constexpr std::string_view kLineEnd = "\r\n";
constexpr std::string_view kHeadEnd = "\r\n\r\n";

bool is_token_character(char character)
{
	constexpr std::string_view kMarks = "!#$%&'*+-.^_`|~";
	return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
	       (character >= '0' && character <= '9') ||
	       kMarks.find(character) != std::string_view::npos;
}

bool is_token(std::string_view text)
{
	return !text.empty() && std::ranges::all_of(text, is_token_character);
}

bool is_control(char character)
{
	return (static_cast<unsigned char>(character) < 0x20 && character != '\t') ||
	       character == 0x7f;
}

std::string_view take(std::string_view &text, std::string_view end)
{
	const std::size_t size = text.find(end);
	const std::string_view part = text.substr(0, size);
	text.remove_prefix(size == std::string_view::npos ? text.size() : size + end.size());
	return part;
}

/* "GET /metrics HTTP/1.1" */
HttpStatus parse_request_line(std::string_view line, HttpRequest &request, bool &needs_host)
{
	const std::string_view method = take(line, " ");
	const std::string_view target = take(line, " ");
	const std::string_view version = line;
	if (!is_token(method) || target.empty() || std::ranges::any_of(target, is_control) ||
	    !version.starts_with("HTTP/"))
		return HttpStatus::kBadRequest;
	if (version != "HTTP/1.1" && version != "HTTP/1.0")
		return HttpStatus::kVersionNotSupported;
	needs_host = version == "HTTP/1.1";
	request.is_head = method == "HEAD";
	if (method != "GET" && method != "HEAD")
		return HttpStatus::kMethodNotAllowed;
	if (!target.starts_with('/'))
		return HttpStatus::kBadRequest;
	request.path = target.substr(0, target.find('?'));
	return HttpStatus::kOk;
}

/* "Accept: text/plain" */
bool parse_header(std::string_view line, HttpRequest &request, bool &has_host)
{
	const std::size_t colon = line.find(':');
	if (colon == std::string_view::npos || !is_token(line.substr(0, colon)) ||
	    std::ranges::any_of(line, is_control))
		return false;
	const std::string name = in_lower_case(line.substr(0, colon));
	has_host = has_host || name == "host";
	if (name == "accept")
		request.accept.append(request.accept.empty() ? "" : ",")
			.append(line.substr(colon + 1));
	return true;
}

std::string_view reason_of(HttpStatus status)
{
	switch (status) {
	case HttpStatus::kOk:
		return "OK";
	case HttpStatus::kBadRequest:
		return "Bad Request";
	case HttpStatus::kNotFound:
		return "Not Found";
	case HttpStatus::kMethodNotAllowed:
		return "Method Not Allowed";
	case HttpStatus::kTimeout:
		return "Request Timeout";
	case HttpStatus::kHeadTooLarge:
		return "Request Header Fields Too Large";
	case HttpStatus::kVersionNotSupported:
		return "HTTP Version Not Supported";
	}
	return "";
}

} // namespace

std::optional<HttpRequest> parse_request(std::string_view bytes)
{
	const std::size_t end = bytes.find(kHeadEnd);
	HttpRequest request;
	if (end == std::string_view::npos || end + kHeadEnd.size() > kRequestHeadMax) {
		if (bytes.size() < kRequestHeadMax)
			return std::nullopt;
		request.status = HttpStatus::kHeadTooLarge;
		return request;
	}
	std::string_view head = bytes.substr(0, end);
	bool needs_host = false, has_host = false;
	request.status = parse_request_line(take(head, kLineEnd), request, needs_host);
	while (!head.empty() && request.status == HttpStatus::kOk) {
		if (!parse_header(take(head, kLineEnd), request, has_host))
			request.status = HttpStatus::kBadRequest;
	}
	if (request.status == HttpStatus::kOk && needs_host && !has_host)
		request.status = HttpStatus::kBadRequest;
	return request;
}

HttpResponse plain_response(HttpStatus status)
{
	return {.status = status, .body = fmt::format("{}\n", reason_of(status))};
}

std::string response_bytes(const HttpResponse &response, bool is_head)
{
	std::string bytes =
		fmt::format("HTTP/1.1 {} {}\r\nContent-Type: {}\r\nContent-Length: {}\r\n",
			    static_cast<int>(response.status), reason_of(response.status),
			    response.type, response.body.size());
	if (response.status == HttpStatus::kMethodNotAllowed)
		bytes += "Allow: GET, HEAD\r\n";
	bytes += "X-Content-Type-Options: nosniff\r\nConnection: close\r\n\r\n";
	if (!is_head)
		bytes += response.body;
	return bytes;
}

} // namespace zemctl

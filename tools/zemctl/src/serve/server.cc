// SPDX-License-Identifier: GPL-2.0
/*
 * The thread of zemctl serve that looks after clients.
 */
#include "serve/server.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>

#include <sys/eventfd.h>
#include <unistd.h>

#include <fmt/format.h>

#include "base/errors.h"
#include "text/words.h"

namespace zemctl {

namespace {

/* Longer times need not fit into the argument of poll(). */
constexpr auto kPollMax = std::chrono::hours(1);

constexpr std::string_view kIndex = "zemctl serve " ZEMCTL_VERSION "\n/metrics\n";

/* Names of media types have no case. */
bool accepts_openmetrics(const std::string &accept)
{
	return in_lower_case(accept).find("application/openmetrics-text") != std::string::npos;
}

} // namespace

Server::Server(Hub &hub, const ServerOptions &options)
	: hub_(hub), text_interval_(options.text_interval), streams_(options.socket),
	  stop_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
	if (!stop_.is_open())
		throw system_failure("eventfd", errno);
	if (!options.listen.empty())
		http_.emplace(options.listen,
			      [this](const HttpRequest &request) { return respond(request); });
	if (!options.text_folder.empty()) {
		file_.emplace(options.text_folder);
		file_->write(hub_.metrics(MetricDialect::kPrometheus, counts()));
	}
	thread_ = std::thread([this] { run(); });
}

Server::~Server()
{
	const std::uint64_t one = 1;
	[[maybe_unused]] const ssize_t written = ::write(stop_.get(), &one, sizeof(one));
	thread_.join();
	hub_.finish(kFinishTime);
}

ServerCounts Server::counts() const
{
	if (!http_)
		return {};
	return {http_->answered(), http_->refused()};
}

/* Context: the thread, as all below. */
HttpResponse Server::respond(const HttpRequest &request) const
{
	if (request.path == "/")
		return {.body = std::string(kIndex)};
	if (request.path != "/metrics")
		return plain_response(HttpStatus::kNotFound);
	const MetricDialect dialect = accepts_openmetrics(request.accept) ?
					      MetricDialect::kOpenMetrics :
					      MetricDialect::kPrometheus;
	return {.type = std::string(content_type(dialect)),
		.body = hub_.metrics(dialect, counts())};
}

void Server::run()
{
	for (;;) {
		std::vector<pollfd> polls = {{stop_.get(), POLLIN, 0}, {streams_.fd(), POLLIN, 0}};
		const std::vector<int> clients = hub_.client_fds();
		/* No events: poll() always reports that the other end has gone. */
		for (const int fd : clients)
			polls.push_back({fd, 0, 0});
		const std::size_t http = polls.size();
		if (http_)
			http_->add_polls(polls);
		const bool is_valid = ::poll(polls.data(), polls.size(), poll_timeout()) >= 0;
		if (polls[0].revents != 0)
			return;
		if (is_valid) {
			handle_stream(polls, clients);
			if (http_)
				http_->handle(std::span(polls).subspan(http));
		}
		write_file();
	}
}

void Server::handle_stream(std::span<const pollfd> polls, std::span<const int> clients)
{
	for (std::size_t i = 0; i < clients.size(); i++) {
		if ((polls[2 + i].revents & (POLLHUP | POLLERR)) != 0)
			hub_.remove_client(clients[i]);
	}
	hub_.reap();
	if (polls[1].revents == 0)
		return;
	if (FileDescriptor client = streams_.accept(); client.is_open())
		hub_.add_client(std::move(client));
}

/* A full disk must not end the streams, so the failure is only reported, once. */
void Server::write_file()
{
	if (!file_ || Clock::now() < next_file_)
		return;
	next_file_ = Clock::now() + text_interval_;
	try {
		file_->write(hub_.metrics(MetricDialect::kPrometheus, counts()));
		file_fails_ = false;
	} catch (const Failure &failure) {
		if (!file_fails_)
			fmt::print(stderr, "zemctl: {}\n", failure.what());
		file_fails_ = true;
	}
}

/* Nothing is polled regularly: an idle server sleeps. */
int Server::poll_timeout() const
{
	std::optional<Clock::time_point> next = http_ ? http_->deadline() : std::nullopt;
	if (file_)
		next = std::min(next.value_or(next_file_), next_file_);
	if (!next)
		return -1;
	const auto left = std::clamp<Clock::duration>(*next - Clock::now(), Clock::duration::zero(),
						      kPollMax);
	return static_cast<int>(std::chrono::ceil<std::chrono::milliseconds>(left).count());
}

} // namespace zemctl

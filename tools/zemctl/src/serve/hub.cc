// SPDX-License-Identifier: GPL-2.0
/*
 * Passes the records of a session to the metrics and to all clients.
 */
#include "serve/hub.h"

#include <algorithm>
#include <iterator>
#include <thread>
#include <utility>

namespace zemctl {

namespace {
constexpr auto kFinishStep = std::chrono::milliseconds(10);
}

void Hub::deliver(const Arrival &arrival)
{
	auto batch = std::make_shared<RecordBatch>();
	for (const Record &record : arrival.records)
		batch->records.insert(batch->records.end(), record.whole.begin(),
				      record.whole.end());
	batch->count = arrival.records.size();

	const Counters &counters = arrival.counters;
	const std::scoped_lock lock(mutex_);
	for (const Record &record : arrival.records)
		model_.add(record);
	const std::uint64_t gaps = counters.gaps - reader_gaps_;
	if (gaps > 0)
		model_.add_gaps(gaps, counters.lost_bytes - losses_.lost_bytes);
	reader_gaps_ = counters.gaps;
	losses_.gaps += gaps;
	losses_.lost_bytes = counters.lost_bytes;
	if (batch->count > 0 || gaps > 0)
		push(batch->count > 0 ? batch : nullptr);
}

void Hub::note_kernel_loss(std::uint64_t records)
{
	const std::scoped_lock lock(mutex_);
	model_.add_gaps(1, 0);
	model_.add_missing({.kernel = records});
	losses_.gaps++;
	losses_.kernel_lost += records;
	push(nullptr);
}

void Hub::set_module_counters(const ModuleCounters &counters)
{
	const std::scoped_lock lock(mutex_);
	model_.set_module_counters(counters);
}

/* Locking: the caller holds mutex_. */
void Hub::push(const SharedBatch &batch)
{
	for (const auto &client : clients_)
		client->push(batch, losses_);
}

void Hub::add_client(FileDescriptor socket)
{
	const std::scoped_lock lock(mutex_);
	if (clients_.size() >= kClients) {
		refused_clients_++;
		return;
	}
	clients_.push_back(
		std::make_unique<StreamClient>(std::move(socket), marks_, losses_, queue_limit_));
}

std::vector<int> Hub::client_fds() const
{
	const std::scoped_lock lock(mutex_);
	std::vector<int> fds;
	for (const auto &client : clients_)
		fds.push_back(client->fd());
	return fds;
}

/* The caller destroys the clients without the lock, because their threads may take a while. */
template <typename Condition>
Hub::Clients Hub::take_clients(const Condition &condition)
{
	const std::scoped_lock lock(mutex_);
	const auto [first, last] = std::ranges::partition(clients_, [&](const auto &client) {
		return !condition(*client);
	});
	Clients taken(std::make_move_iterator(first), std::make_move_iterator(last));
	clients_.erase(first, last);
	for (const auto &client : taken)
		dropped_before_ += client->dropped_records();
	return taken;
}

void Hub::remove_client(int fd)
{
	take_clients([fd](const StreamClient &client) { return client.fd() == fd; });
}

void Hub::reap()
{
	take_clients([](const StreamClient &client) { return client.has_ended(); });
}

void Hub::finish(std::chrono::nanoseconds time)
{
	const auto until = std::chrono::steady_clock::now() + time;
	const Clients all = take_clients([](const StreamClient &) { return true; });
	for (const auto &client : all)
		client->finish();
	while (std::chrono::steady_clock::now() < until &&
	       !std::ranges::all_of(all, [](const auto &client) { return client->has_ended(); }))
		std::this_thread::sleep_for(kFinishStep);
}

/* The copy needs the lock only for a short time. */
std::string Hub::metrics(MetricDialect dialect, const ServerCounts &counts) const
{
	std::unique_lock lock(mutex_);
	const MetricsModel model = model_;
	lock.unlock();
	MetricWriter writer(dialect);
	model.write(writer);
	lock.lock();
	write_server(writer, counts);
	lock.unlock();
	return writer.finish();
}

/* Locking: the caller holds mutex_. */
std::uint64_t Hub::dropped_records() const
{
	std::uint64_t dropped = dropped_before_;
	for (const auto &client : clients_)
		dropped += client->dropped_records();
	return dropped;
}

/* Locking: the caller holds mutex_. */
void Hub::write_server(MetricWriter &writer, const ServerCounts &counts) const
{
	writer.begin(Metric::kServerClients);
	writer.gauge({}, std::uint64_t{clients_.size()});
	writer.begin(Metric::kServerRefusedClients);
	writer.counter({}, refused_clients_, start_);
	writer.begin(Metric::kServerDroppedRecords);
	writer.counter({}, dropped_records(), start_);
	writer.begin(Metric::kServerRequests);
	writer.counter(Labels().add("code", "200"), counts.requests_answered, start_);
	writer.counter(Labels().add("code", "other"), counts.requests_refused, start_);
}

} // namespace zemctl

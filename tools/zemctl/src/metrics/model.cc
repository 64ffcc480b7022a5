// SPDX-License-Identifier: GPL-2.0
/*
 * Accumulates records into metrics.
 */
#include "metrics/model.h"

#include <algorithm>

#include "decode/decoder.h"
#include "records/channels.h"

namespace zemctl {

namespace {

/* In the order of struct zem_cgroup. */
constexpr std::array<std::string_view, ZEM_CGROUPS> kGroups = {"all", "root",  "fg", "top",
							       "bg",  "sysbg", "svp"};

/* In the order of struct zem_kzerod. */
constexpr std::array<std::string_view, 5> kZeroPageEvents = {
	"alloc_failed", "alloc_prezero", "list_alloc", "list_breakdown", "list_drain"};

struct UsbEvent {
	std::uint32_t event;
	std::string_view name;
};

constexpr std::array kUsbEventNames = {
	UsbEvent{ZEM_USB_NEW_DEVICE, "new_device"},
	UsbEvent{ZEM_USB_NEW_DISK, "new_disk"},
	UsbEvent{ZEM_USB_IO_ERROR, "io_error"},
	UsbEvent{ZEM_USB_DISCONNECT, "disconnect"},
};

/* Indices of kModuleCounters. */
enum ModuleCounter : std::size_t {
	kPushedRecords,
	kOverwrittenRecords,
	kRefusedRecords,
	kTooLargeRecords,
	kDroppedRecords,
	kNotifyTimeoutCount,
	kEmptyPassCount,
	kRefusedUids,
	kRefusedSvpTasks,
};

static_assert(kRefusedSvpTasks + 1 == kModuleCounters.size());

} // namespace

void MetricsModel::add(const Record &record)
{
	Channel &channel = channels_[record.header.channel];
	channel.records++;
	channel.bytes += record.whole.size();
	channel.latest = std::max<std::uint64_t>(channel.latest, record.header.timestamp);
	const Decoder *const decoder = find_decoder(record.header.channel);
	if (decoder == nullptr)
		return;
	if (record.payload().size() != decoder->size) {
		channel.undecoded++;
		return;
	}
	Adder adder(skipped_);
	add_payload(record, adder);
}

/* The payload has the size of its channel's structure. */
void MetricsModel::add_payload(const Record &record, Adder &adder)
{
	const Bytes payload = record.payload();
	const std::uint64_t time = record.header.timestamp;
	switch (record.header.channel) {
	case ZEM_CHANNEL_CGROUP:
		return add(copy_payload<zem_cgroup>(payload), adder);
	case ZEM_CHANNEL_CPU:
		return load_.add(copy_payload<zem_cpu>(payload));
	case ZEM_CHANNEL_KIO:
		return io_.add(copy_payload<zem_kio>(payload), time, adder);
	case ZEM_CHANNEL_KZEROD:
		return add(copy_payload<zem_kzerod>(payload));
	case ZEM_CHANNEL_LOAD:
		return load_.add(copy_payload<zem_load>(payload), time, adder);
	case ZEM_CHANNEL_SCHED:
		return sched_.add(copy_payload<zem_sched>(payload), adder);
	case ZEM_CHANNEL_SVP:
		return svp_.add(copy_payload<zem_svp>(payload), time, adder);
	case ZEM_CHANNEL_USB:
		return add(copy_payload<zem_usb>(payload));
	default:
		return;
	}
}

/* The groups have fixed places. Their names are not taken from the payload, which anyone may write.
 */
void MetricsModel::add(const zem_cgroup &groups, Adder &adder)
{
	for (std::size_t i = 0; i < groups_.size(); i++) {
		adder.add(groups_[i].run_delay, groups.entries[i].lat);
		adder.add(groups_[i].d_state_io, groups.entries[i].d_io);
		adder.add(groups_[i].d_state_other, groups.entries[i].d_nonio);
	}
}

/* A counter is never negative. */
void MetricsModel::add(const zem_kzerod &totals)
{
	const std::int64_t values[] = {totals.zero_page_alloc_failed,
				       totals.zero_page_alloc_prezero,
				       totals.zero_page_list_alloc_total,
				       totals.zero_page_list_breakdown_total,
				       totals.zero_page_list_drain_total};
	for (std::size_t i = 0; i < kZeroPageEvents.size(); i++) {
		if (values[i] >= 0)
			zero_pages_[i] = static_cast<std::uint64_t>(values[i]);
		else
			skipped_++;
	}
}

void MetricsModel::add(const zem_usb &usb)
{
	const auto found = std::ranges::find(kUsbEventNames, usb.event, &UsbEvent::event);
	usb_[static_cast<std::size_t>(found - kUsbEventNames.begin())]++;
}

void MetricsModel::add_missing(const MissingRecords &missing)
{
	missing_.kernel += missing.kernel;
	missing_.recorder += missing.recorder;
	missing_.capture += missing.capture;
}

std::optional<std::uint64_t> MetricsModel::latest() const
{
	const std::uint64_t time =
		std::ranges::max_element(channels_, {}, &Channel::latest)->latest;
	return time == 0 ? std::nullopt : std::optional(time);
}

void MetricsModel::write(MetricWriter &writer) const
{
	writer.begin(Metric::kBuild);
	writer.info(Labels().add("version", ZEMCTL_VERSION));
	write_channels(writer);
	write_losses(writer);
	write_module(writer);
	load_.write(writer, start_);
	sched_.write(writer, start_);
	svp_.write(writer, start_);
	write_groups(writer);
	io_.write(writer, start_);
	write_events(writer);
}

void MetricsModel::write_channels(MetricWriter &writer) const
{
	const auto for_each_channel = [this](const auto &visit) {
		for (std::size_t id = 0; id < channels_.size(); id++)
			visit(Labels().add("channel", channel_name(static_cast<std::uint8_t>(id))),
			      channels_[id]);
	};
	const auto counters = [&](Metric metric, std::uint64_t Channel::*value) {
		writer.begin(metric);
		for_each_channel([&](const Labels &labels, const Channel &channel) {
			writer.counter(labels, channel.*value, start_);
		});
	};
	counters(Metric::kRecords, &Channel::records);
	counters(Metric::kRecordBytes, &Channel::bytes);
	counters(Metric::kUndecodedRecords, &Channel::undecoded);
	writer.begin(Metric::kLastRecord);
	for_each_channel([&](const Labels &labels, const Channel &channel) {
		if (channel.latest != 0)
			writer.gauge(labels, channel.latest);
	});
}

void MetricsModel::write_losses(MetricWriter &writer) const
{
	writer.begin(Metric::kSkippedValues);
	writer.counter({}, skipped_, start_);
	writer.begin(Metric::kGaps);
	writer.counter({}, gaps_, start_);
	writer.begin(Metric::kLostBytes);
	writer.counter({}, lost_bytes_, start_);
	writer.begin(Metric::kMissingRecords);
	writer.counter(Labels().add("cause", "kernel"), missing_.kernel, start_);
	writer.counter(Labels().add("cause", "recorder"), missing_.recorder, start_);
	writer.counter(Labels().add("cause", "capture"), missing_.capture, start_);
}

/* The module was loaded at a time that is not known here. */
void MetricsModel::write_module(MetricWriter &writer) const
{
	const auto counter = [&](ModuleCounter index, const Labels &labels) {
		if (module_ && (module_->known >> index & 1) != 0)
			writer.counter(labels, module_->values[index]);
	};
	writer.begin(Metric::kModulePushed);
	counter(kPushedRecords, {});
	writer.begin(Metric::kModuleLost);
	counter(kOverwrittenRecords, Labels().add("cause", "overwritten"));
	counter(kRefusedRecords, Labels().add("cause", "refused"));
	counter(kTooLargeRecords, Labels().add("cause", "too_large"));
	counter(kDroppedRecords, Labels().add("cause", "dropped"));
	writer.begin(Metric::kModuleNotifyTimeouts);
	counter(kNotifyTimeoutCount, {});
	writer.begin(Metric::kModuleEmptyPasses);
	counter(kEmptyPassCount, {});
	writer.begin(Metric::kModuleRefusals);
	counter(kRefusedUids, Labels().add("subject", "uid"));
	counter(kRefusedSvpTasks, Labels().add("subject", "svp_task"));
}

void MetricsModel::write_groups(MetricWriter &writer) const
{
	writer.begin(Metric::kCgroupRunDelay);
	for (std::size_t i = 0; i < groups_.size(); i++)
		writer.counter(Labels().add("group", kGroups[i]), groups_[i].run_delay, start_);
	writer.begin(Metric::kCgroupDState);
	for (std::size_t i = 0; i < groups_.size(); i++) {
		const Labels group = Labels().add("group", kGroups[i]);
		writer.counter(Labels(group).add("kind", "io"), groups_[i].d_state_io, start_);
		writer.counter(Labels(group).add("kind", "other"), groups_[i].d_state_other,
			       start_);
	}
}

void MetricsModel::write_events(MetricWriter &writer) const
{
	writer.begin(Metric::kZeroPages);
	for (std::size_t i = 0; i < kZeroPageEvents.size(); i++) {
		if (zero_pages_[i])
			writer.counter(Labels().add("event", kZeroPageEvents[i]), *zero_pages_[i]);
	}
	writer.begin(Metric::kUsbEvents);
	for (std::size_t i = 0; i < usb_.size(); i++)
		writer.counter(Labels().add("event", i < kUsbEventNames.size() ?
							     kUsbEventNames[i].name :
							     "other"),
			       usb_[i], start_);
}

} // namespace zemctl

// SPDX-License-Identifier: GPL-2.0
/*
 * Exports a capture as a Perfetto trace.
 */
#include "export/perfetto_sink.h"

#include <string>
#include <string_view>
#include <vector>

#include "decode/decoder.h"
#include "export/perfetto_families.h"
#include "records/channels.h"
#include "text/text.h"

namespace zemctl {

namespace {

class PerfettoSink : public ExportSink {
public:
	explicit PerfettoSink(Output &output) : trace_(output) {}

	void record(const Record &record) override;
	void mark(const Mark &mark) override;
	void loss(const Loss &loss) override;
	void finish(StreamEnd end, std::uint64_t records) override;

private:
	template <typename Payload, typename Family>
	bool offer(const Record &record, zem_channel channel, Family &family);
	void kzerod(std::uint64_t time, const zem_kzerod &totals);
	void other(const Record &record);

	PerfettoTrace trace_;
	PerfettoCpus cpus_{trace_};
	PerfettoTasks tasks_{trace_};
	PerfettoWaits waits_{trace_};
	PerfettoIo io_{trace_};
	PerfettoUsb usb_{trace_};
	std::uint64_t last_time_ = 0;
};

/* Return: whether the record is of this family. */
template <typename Payload, typename Family>
bool PerfettoSink::offer(const Record &record, zem_channel channel, Family &family)
{
	if (record.header.channel != channel || record.payload().size() != sizeof(Payload))
		return false;
	family.record(record.header.timestamp, copy_payload<Payload>(record.payload()));
	return true;
}

void PerfettoSink::record(const Record &record)
{
	last_time_ = record.header.timestamp;
	if (offer<zem_cpu>(record, ZEM_CHANNEL_CPU, cpus_) ||
	    offer<zem_load>(record, ZEM_CHANNEL_LOAD, tasks_) ||
	    offer<zem_svp>(record, ZEM_CHANNEL_SVP, tasks_) ||
	    offer<zem_cgroup>(record, ZEM_CHANNEL_CGROUP, waits_) ||
	    offer<zem_sched>(record, ZEM_CHANNEL_SCHED, waits_) ||
	    offer<zem_kio>(record, ZEM_CHANNEL_KIO, io_) ||
	    offer<zem_usb>(record, ZEM_CHANNEL_USB, usb_))
		return;
	if (record.header.channel == ZEM_CHANNEL_KZEROD &&
	    record.payload().size() == sizeof(zem_kzerod))
		return kzerod(last_time_, copy_payload<zem_kzerod>(record.payload()));
	other(record);
}

void PerfettoSink::kzerod(std::uint64_t time, const zem_kzerod &totals)
{
	const TrackId parent = trace_.group(kNoParent, "Zero pages");
	const auto count = [&](std::string_view name, std::int64_t value) {
		trace_.count(trace_.counters(parent, name, TrackUnit::kPages), time, value);
	};
	count("failed", totals.zero_page_alloc_failed);
	count("prezeroed", totals.zero_page_alloc_prezero);
	count("lists: allocated", totals.zero_page_list_alloc_total);
	count("lists: broken down", totals.zero_page_list_breakdown_total);
	count("lists: drained", totals.zero_page_list_drain_total);
}

/* A record that is not decoded is an instant with its payload. */
void PerfettoSink::other(const Record &record)
{
	const Bytes payload = record.payload();
	const std::string_view channel = channel_name(record.header.channel);
	const TrackId track = trace_.group(trace_.group(kNoParent, "Other channels"), channel);
	const bool is_plain = is_text(payload);
	std::string text(reinterpret_cast<const char *>(payload.data()), payload.size());
	if (!is_plain) {
		text.resize(2 * payload.size());
		write_hex(payload, text.data());
	}
	const Annotation annotations[] = {
		{"sub_type", std::uint64_t{record.header.sub_type}},
		{"train_number", std::uint64_t{record.header.train_number}},
		{is_plain ? "payload_text" : "payload_hex", std::string_view(text)},
	};
	trace_.instant(track, last_time_, channel, annotations);
}

void PerfettoSink::mark(const Mark &mark)
{
	switch (mark.kind) {
	case MarkKind::kClock:
		trace_.clock(mark.as<ClockReading>());
		break;
	case MarkKind::kMachine:
		trace_.machine(mark.as<MachineDescription>());
		break;
	case MarkKind::kCpus:
		cpus_.describe(mark);
		break;
	case MarkKind::kPackages:
		io_.describe(mark);
		break;
	case MarkKind::kCounters:
	case MarkKind::kGap:
	case MarkKind::kEnd:
		break;
	}
}

void PerfettoSink::loss(const Loss &loss)
{
	std::vector<Annotation> annotations;
	if (loss.gap.lost_bytes)
		annotations.push_back({"lost_bytes", *loss.gap.lost_bytes});
	if (loss.gap.lost_records)
		annotations.push_back({"lost_records", *loss.gap.lost_records});
	if (loss.skipped_bytes)
		annotations.push_back({"skipped_bytes", *loss.skipped_bytes});
	const std::string description = escaped(loss.description);
	annotations.push_back({"description", std::string_view(description)});
	trace_.instant(trace_.group(kNoParent, "Loss"), loss.time,
		       loss.skipped_bytes ? "damaged" : "gap", annotations);
}

void PerfettoSink::finish(StreamEnd end, std::uint64_t records)
{
	cpus_.finish();
	tasks_.finish();
	io_.finish();
	if (end == StreamEnd::kUnfinished || end == StreamEnd::kCutOff) {
		const Annotation annotation = {"records", records};
		trace_.instant(trace_.group(kNoParent, "Loss"), last_time_, "end is missing",
			       {&annotation, 1});
	}
	trace_.flush();
}

} // namespace

std::unique_ptr<ExportSink> make_perfetto_sink(Output &output)
{
	return std::make_unique<PerfettoSink>(output);
}

} // namespace zemctl

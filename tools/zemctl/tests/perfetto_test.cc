// SPDX-License-Identifier: GPL-2.0
/*
 * zemctl export to Perfetto, decoded by protoc. The script tests/perfetto/events prints an event a
 * line, and fails for a trace that does not keep to the format.
 */
#include <map>

#include <gmock/gmock.h>

#include "capture_fixture.h"
#include "command_fixture.h"
#include "every_record.h"

namespace zemctl {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr std::uint64_t kTraceSecond = 1'000'000'000;
constexpr std::uint64_t kTraceStart = 1'700'000'000 * kTraceSecond;

/* The wall clock is at kTraceStart when the machine has run for 100 s. */
constexpr ClockReading kTraceClock = {kTraceStart, 90 * kTraceSecond, 100 * kTraceSecond, 3600,
				      400};

class PerfettoTest : public CommandTest {
protected:
	void write(const ByteVector &record) { memory_.writer.write(as_record(record)); }
	template <typename Payload>
	void write(zem_channel channel, const Payload &payload, std::uint64_t second)
	{
		write(made_record(channel, bytes_of(payload), kTraceStart + second * kTraceSecond));
	}
	/* Writes @records, one after another in memory, with the time of @second. */
	void write_each(ByteVector records, std::uint64_t second)
	{
		for (std::size_t at = 0; at < records.size();) {
			zem_record_header header;
			std::memcpy(&header, &records[at], sizeof(header));
			header.timestamp = kTraceStart + second * kTraceSecond;
			std::memcpy(&records[at], &header, sizeof(header));
			const std::size_t size = sizeof(header) + header.len;
			writer().write({header, Bytes(records).subspan(at, size)});
			at += size;
		}
	}
	template <typename Payload>
	void mark(MarkKind kind, const Payload &payload)
	{
		memory_.writer.write_mark(kind, std::as_bytes(std::span(&payload, 1)));
	}
	CaptureWriter &writer() { return memory_.writer; }

	/* Returns the lines of the exported trace that have @part, or what went wrong. */
	std::vector<std::string> events(const std::string &part, const std::string &options = "")
	{
		const ByteVector bytes = memory_.content();
		put("capture", {reinterpret_cast<const char *>(bytes.data()), bytes.size()});
		const Result result = shell("$zemctl export capture --format perfetto -o trace " +
					    options + " && " ZEMCTL_PERFETTO_EVENTS " trace");
		if (result.status != 0)
			return {"went wrong: " + result.err};
		std::vector<std::string> lines;
		std::istringstream text(result.out);
		for (std::string line; std::getline(text, line);) {
			if (line.find(part) != std::string::npos)
				lines.push_back(line);
		}
		return lines;
	}
	std::vector<std::string> finished_events(const std::string &part)
	{
		memory_.writer.finish();
		return events(part);
	}

private:
	CaptureInMemory memory_;
};

zem_load trace_load(std::uint32_t pid, std::int32_t tgid, std::uint64_t usage)
{
	zem_load load = {};
	load.pid = pid;
	load.ppid = tgid;
	std::strcpy(load.comm, "worker");
	load.usage = usage;
	load.runtime = 7000;
	return load;
}

zem_usb trace_usb(std::uint32_t event, std::uint16_t product)
{
	zem_usb usb = {};
	usb.event = event;
	usb.id_vendor = 0x46f4;
	usb.id_product = product;
	std::strcpy(usb.product, "STICK");
	return usb;
}

zem_svp trace_svp(std::uint32_t long_waits)
{
	zem_svp svp = {};
	svp.tgid = 10;
	svp.pid = 11;
	std::strcpy(svp.thread_name, "Render");
	svp.stats.runtime_total = 5;
	svp.stats.run_delay[3] = long_waits;
	return svp;
}

} // namespace

TEST_F(PerfettoTest, each_record_of_a_channel_is_an_event_of_its_counters)
{
	mark(MarkKind::kClock, kTraceClock);
	for (std::uint8_t second = 1; second <= 3; second++)
		write_each(record_of_every_kind(7), second);
	write(ZEM_CHANNEL_CPU, zem_cpu{.cpu = 1, .reserved = 0, .cycles = 0, .usage = 3}, 4);
	ASSERT_THAT(finished_events("went wrong"), ElementsAre());
	std::map<std::string, std::size_t> counts;
	for (const auto &record : objects_of(run("dump --json capture").out, "record")) {
		const bool is_decoded = record.contains("decoded");
		const std::string channel = is_decoded ? std::string(record["channel"]) : "other";
		if (channel != "cgroup") {
			counts[channel]++;
			continue;
		}
		for (const auto &group : record["decoded"]["groups"])
			for (const char *wait : {"lat_ns", "d_io_ns", "d_nonio_ns"})
				counts[channel] += group[wait].is_null() ? 0 : 1;
	}
	const std::map<std::string, std::string> tracks = {
		{"cpu", "counter CPU load/cpu"},
		{"load", "/CPU usage (%): "},
		{"cgroup", "Waits by group/"},
		{"sched", "Scheduler/hard interrupts: number (UNIT_COUNT)"},
		{"svp", "/SVP: on a CPU (UNIT_TIME_NS)"},
		{"kio", "IO/reads (pages)"},
		{"kzerod", "Zero pages/failed (pages)"},
		{"usb", " USB/"},
		{"other", "instant Other channels/"},
	};
	ASSERT_EQ(counts.size(), tracks.size());
	for (const auto &[channel, track] : tracks)
		EXPECT_EQ(events(track).size(), counts[channel]) << channel;
	EXPECT_EQ(counts["cgroup"], 42u) << "one wait of each group is left out";
	EXPECT_EQ(events("counter CPU load/cpu", "--channel cpu --since @1700000002").size(), 3u);
}

TEST_F(PerfettoTest, without_a_clock_reading_times_are_those_of_the_wall_clock)
{
	write(made_record(ZEM_CHANNEL_WIFI, "early", kTraceStart - 2 * kTraceSecond));
	EXPECT_THAT(finished_events("wifi"),
		    ElementsAre(HasSubstr("1699999998000000000R instant")));
}

TEST_F(PerfettoTest, the_clock_reading_before_an_event_converts_its_time)
{
	mark(MarkKind::kClock, kTraceClock);
	write(made_record(ZEM_CHANNEL_WIFI, "early", kTraceStart - 2 * kTraceSecond));
	write(made_record(ZEM_CHANNEL_WIFI, "late", kTraceStart + 5 * kTraceSecond));
	write(made_record(ZEM_CHANNEL_WIFI, "before the boot", kTraceStart - 1000 * kTraceSecond));
	write(made_record(ZEM_CHANNEL_WIFI, "damaged", UINT64_MAX));
	/* The wall clock is set back by an hour. */
	mark(MarkKind::kClock, ClockReading{kTraceStart - 3600 * kTraceSecond, 100 * kTraceSecond,
					    110 * kTraceSecond, 0, 0});
	write(made_record(ZEM_CHANNEL_WIFI, "after", kTraceStart - 3599 * kTraceSecond));
	EXPECT_THAT(finished_events("instant"),
		    ElementsAre(HasSubstr("98000000000 instant"), HasSubstr("105000000000 instant"),
				HasSubstr("0 instant"), HasSubstr("9223372036854775807 instant"),
				HasSubstr("111000000000 instant")));
	EXPECT_THAT(events("clocks"),
		    ElementsAre("100000000000 clocks 1=1700000000000000000 3=90000000000 "
				"6=100000000000 BUILTIN_CLOCK_BOOTTIME",
				"110000000000 clocks 1=1699996400000000000 3=100000000000 "
				"6=110000000000 BUILTIN_CLOCK_BOOTTIME"));
}

TEST_F(PerfettoTest, the_machine_is_described)
{
	MachineDescription machine = {};
	machine.page_size = 16384;
	machine.cpus = 8;
	std::strcpy(machine.kernel_release, "6.6.1-android");
	mark(MarkKind::kMachine, machine);
	mark(MarkKind::kClock, kTraceClock);
	EXPECT_THAT(finished_events("machine"),
		    ElementsAre("- machine 6.6.1-android num_cpus=8 page_size=16384 "
				"timezone_off_mins=60"));
}

TEST_F(PerfettoTest, a_cluster_has_the_sum_of_its_cpus)
{
	mark(MarkKind::kClock, kTraceClock);
	const CpuDescription cpus[] = {{0, 0, 400, 0}, {1, 0, 400, 0}, {2, 1, 1024, 0}};
	mark(MarkKind::kCpus, cpus);
	for (const std::uint64_t second : {1, 2}) {
		for (std::uint32_t cpu = 0; cpu < 3; cpu++)
			write(ZEM_CHANNEL_CPU,
			      zem_cpu{cpu, 0, 0, second * (cpu + 1) * ZEM_CAPACITY_FULL / 100},
			      second);
	}
	EXPECT_THAT(finished_events("cluster"),
		    ElementsAre("101000000000 counter CPU load/cluster 0 (%): 2.999273304",
				"101000000000 counter CPU load/cluster 1 (%): 2.999273304",
				"102000000000 counter CPU load/cluster 0 (%): 5.998546608",
				"102000000000 counter CPU load/cluster 1 (%): 5.998546608"));
}

TEST_F(PerfettoTest, a_process_that_did_not_run_has_no_usage)
{
	mark(MarkKind::kClock, kTraceClock);
	for (const std::uint64_t second : {1, 6, 11}) {
		write(ZEM_CHANNEL_LOAD, trace_load(1, 1, ZEM_CAPACITY_FULL), second);
		if (second == 1)
			write(ZEM_CHANNEL_LOAD, trace_load(2, 2, ZEM_CAPACITY_FULL / 2), second);
	}
	EXPECT_THAT(finished_events("process 2 worker/CPU usage"),
		    ElementsAre("101000000000 counter process 2 worker/CPU usage (%): 49.99889895",
				"106000000000 counter process 2 worker/CPU usage (%): 0"));
	EXPECT_THAT(events("process 1 worker/CPU usage"),
		    ElementsAre(HasSubstr("101"), HasSubstr("106"), HasSubstr("111")));
}

TEST_F(PerfettoTest, names_of_any_bytes_are_text)
{
	mark(MarkKind::kClock, kTraceClock);
	zem_load load = trace_load(5, 4, 0);
	std::strcpy(load.comm, "\xffx\n");
	std::strcpy(load.pkg, "com.\xc3\xa9");
	write(ZEM_CHANNEL_LOAD, load, 1);
	EXPECT_THAT(finished_events("CPU time"),
		    ElementsAre("101000000000 counter thread 4/5 \\xffx\\x0a/CPU time "
				"(UNIT_TIME_NS): 7000"));
	EXPECT_NE(get("trace").find("com.\xc3\xa9"), std::string::npos);
}

TEST_F(PerfettoTest, a_usb_device_is_connected_until_its_removal)
{
	mark(MarkKind::kClock, kTraceClock);
	write(ZEM_CHANNEL_USB, trace_usb(ZEM_USB_NEW_DEVICE, 1), 1);
	write(ZEM_CHANNEL_USB, trace_usb(ZEM_USB_NEW_DISK, 1), 2);
	write(ZEM_CHANNEL_USB, trace_usb(ZEM_USB_NEW_DEVICE, 2), 3);
	write(ZEM_CHANNEL_USB, trace_usb(ZEM_USB_DISCONNECT, 1), 4);
	/* The device that was seen last is not the one that was removed. */
	write(ZEM_CHANNEL_USB, trace_usb(ZEM_USB_DISCONNECT, 1), 5);
	write(ZEM_CHANNEL_USB, trace_usb(ZEM_USB_DISCONNECT, 1), 6);
	const std::string stick = "USB/46f4:0001 STICK: ";
	EXPECT_THAT(finished_events("USB/"),
		    ElementsAre(HasSubstr("101000000000 slice_begin " + stick + "connected"),
				HasSubstr("102000000000 instant " + stick + "disk"),
				HasSubstr("103000000000 slice_begin USB/46f4:0002"),
				HasSubstr("104000000000 slice_end USB/46f4:0001"),
				HasSubstr("105000000000 slice_end USB/46f4:0002"),
				HasSubstr("106000000000 instant " + stick + "removed")));
}

TEST_F(PerfettoTest, long_waits_are_slices_of_the_interval_that_they_were_in)
{
	mark(MarkKind::kClock, kTraceClock);
	write(ZEM_CHANNEL_SVP, trace_svp(2), 1);
	write(ZEM_CHANNEL_SVP, trace_svp(0), 5);
	write(ZEM_CHANNEL_SVP, trace_svp(3), 10);
	const std::string track = "thread 10/11 Render/long waits for a CPU:";
	EXPECT_THAT(finished_events("long waits"),
		    ElementsAre("101000000000 instant " + track +
					" waits of 20 ms or more for a CPU number=2",
				"105000000000 slice_begin " + track +
					" waits of 20 ms or more for a CPU number=3",
				"110000000000 slice_end " + track));
}

TEST_F(PerfettoTest, devices_have_rates_from_the_second_record_on)
{
	mark(MarkKind::kClock, kTraceClock);
	zem_kio kio = {};
	write(ZEM_CHANNEL_KIO, kio, 1);
	kio.devices[0].disk.rd_sectors = 2000;
	kio.devices[0].disk.io_ticks = 500;
	write(ZEM_CHANNEL_KIO, kio, 3);
	EXPECT_THAT(finished_events("sda/"),
		    ElementsAre("103000000000 counter IO//dev/block/sda/read (B/s): 512000",
				"103000000000 counter IO//dev/block/sda/written (B/s): 0",
				"103000000000 counter IO//dev/block/sda/busy (%): 25"));
}

TEST_F(PerfettoTest, losses_are_instants)
{
	mark(MarkKind::kClock, kTraceClock);
	write(made_record(ZEM_CHANNEL_WIFI, "x", kTraceStart));
	writer().note_losses({1, 70, 6, 240, 3});
	write(made_record(ZEM_CHANNEL_WIFI, "y", kTraceStart + kTraceSecond));
	writer().end_block();
	EXPECT_THAT(
		events("Loss"),
		ElementsAre(
			testing::AllOf(
				HasSubstr(" instant Loss: gap lost_bytes=70 lost_records=9 "
					  "description=gap: 6 records were dropped"),
				HasSubstr(
					"; gap: 3 records were lost in the kernel; gap: 70 bytes")),
			"101000000000 instant Loss: end is missing records=2"));
	EXPECT_THAT(finished_events("end is missing"), ElementsAre());
}

TEST_F(PerfettoTest, the_decoder_refuses_what_is_no_trace_of_zemctl)
{
	const auto refusal = [this](const std::string &packet) {
		put("made", packet);
		return shell("protoc --encode=perfetto.protos.Trace -I " ZEMCTL_PERFETTO_SCHEMA
			     " trace.proto <made >trace && " ZEMCTL_PERFETTO_EVENTS " trace")
			.err;
	};
	const std::string head = "packet { trusted_packet_sequence_id: 1 sequence_flags: 1 ";
	const std::string track = head + "track_descriptor { uuid: 5 name: 'x' } } ";
	const std::string next = "packet { trusted_packet_sequence_id: 1 sequence_flags: 2 ";
	EXPECT_EQ(refusal(track), "");
	EXPECT_NE(refusal("packet { track_descriptor { uuid: 5 } }"), "");
	EXPECT_NE(refusal(track + track), "");
	EXPECT_NE(refusal(head + "track_event { type: TYPE_SLICE_BEGIN track_uuid: 5 } }"), "");
	EXPECT_NE(refusal(track + next + "track_event { type: TYPE_SLICE_END track_uuid: 5 } }"),
		  "");
	EXPECT_NE(refusal(track + next +
			  "track_event { type: TYPE_INSTANT track_uuid: 5 name_iid: 1 } }"),
		  "");
	EXPECT_NE(refusal(track + next + "track_event { type: TYPE_COUNTER track_uuid: 5 } }"), "");
	put("trace", "\x12\x01x");
	EXPECT_NE(shell(ZEMCTL_PERFETTO_EVENTS " trace").err, "");
}

} // namespace zemctl

// SPDX-License-Identifier: GPL-2.0
/*
 * The columns of the files of an export as comma-separated values. Names are those of the JSON.
 */
#include "export/csv_families.h"

#include <algorithm>
#include <string>

#include "decode/capacity.h"
#include "decode/decoder.h"
#include "decode/histogram.h"
#include "decode/io.h"
#include "decode/svp.h"

namespace zemctl {

namespace csv {

static void cpu(CsvTable &table, const CsvPrefix &prefix, Bytes payload)
{
	const auto cpu = copy_payload<zem_cpu>(payload);
	put_prefix(table, prefix).number("cpu", cpu.cpu).number("cycles", cpu.cycles);
	table.count("usage", cpu.usage).count("usage_percent", percent_of_capacity(cpu.usage));
	table.end_row();
}

static void load(CsvTable &table, const CsvPrefix &prefix, Bytes payload)
{
	const auto task = copy_payload<zem_load>(payload);
	put_prefix(table, prefix).number("tgid", task.ppid).number("pid", task.pid);
	table.name("comm", field_text(task.comm)).name("package", field_text(task.pkg));
	table.number("leader_flag", task.leader_flag).count("runtime_ns", task.runtime);
	table.count("usage", task.usage).count("usage_percent", percent_of_capacity(task.usage));
	table.count("combined", task.combined);
	table.count("combined_percent", percent_of_capacity(task.combined));
	table.number("sum_exec_runtime_ns", task.sum_exec_runtime);
	const auto pair = [&table](const std::string &name, const __u64(&counter)[2]) {
		table.number(name + "_0", counter[0]).number(name + "_1", counter[1]);
	};
	pair("counter_a", task.counter_a);
	pair("counter_b", task.counter_b);
	pair("counter_c", task.counter_c);
	table.end_row();
}

/* A row for each group. */
static void cgroup(CsvTable &table, const CsvPrefix &prefix, Bytes payload)
{
	const auto groups = copy_payload<zem_cgroup>(payload);
	for (const zem_cgroup_entry &group : groups.entries) {
		put_prefix(table, prefix).name("name", field_text(group.name));
		table.count("lat_ns", group.lat).count("d_io_ns", group.d_io);
		table.count("d_nonio_ns", group.d_nonio).end_row();
	}
}

/* A row for each histogram. */
static void sched(CsvTable &table, const CsvPrefix &prefix, Bytes payload)
{
	const auto sched = copy_payload<zem_sched>(payload);
	for (const SchedHistogram &histogram : kSchedHistograms) {
		const zem_sched_block &block = sched.*histogram.block;
		put_prefix(table, prefix).text("histogram", histogram.name);
		table.count("total_time_ns", block.total_time * kSchedTimeUnit);
		for (std::size_t i = 0; i < ZEM_SCHED_CPUS; i++)
			table.count("cpu_" + std::to_string(i) + "_time_ns",
				    block.cpu_time[i] * kSchedTimeUnit);
		table.counts("counts", block.counts).end_row();
	}
}

static void svp_io(CsvTable &table, const zem_svp_stats &stats)
{
	table.count("iowait_total_ns", stats.iowait_total);
	table.count("iowait_total_cnt", stats.iowait_total_cnt);
	table.count("iowait_coldstart_ns", stats.iowait_coldstart);
	table.count("iowait_coldstart_cnt", stats.iowait_coldstart_cnt);
	table.counts("iowait_duration", stats.iowait_duration);
	table.count("ui_iowait_long_cnt", stats.ui_iowait_long_cnt);
	table.count("read_bytes", stats.read_bytes);
	table.count("read_syscall_cnt", stats.read_syscall_cnt);
	table.count("write_bytes", stats.write_bytes);
	table.count("write_syscall_cnt", stats.write_syscall_cnt);
	table.count("bio_read_size_bytes", stats.bio_read_size);
	table.count("bio_read_time_ns", stats.bio_read_time);
	table.count("bio_read_cnt", stats.bio_read_cnt);
	table.count("bio_write_size_bytes", stats.bio_write_size);
	table.count("bio_write_time_ns", stats.bio_write_time);
	table.count("bio_write_cnt", stats.bio_write_cnt);
}

static void svp(CsvTable &table, const CsvPrefix &prefix, Bytes payload)
{
	const auto task = copy_payload<zem_svp>(payload);
	const zem_svp_stats &stats = task.stats;
	put_prefix(table, prefix).number("tgid", task.tgid).number("pid", task.pid);
	table.name("comm", field_text(task.thread_name));
	table.name("package", field_text(task.package_name));
	table.counts("run_delay", stats.run_delay);
	table.count("run_delay_total_ns", stats.run_delay_total);
	table.counts("runtime", stats.runtime).count("runtime_total_ns", stats.runtime_total);
	table.counts("d_state_duration", stats.d_state_duration);
	table.count("d_state_duration_total_ns", stats.d_state_duration_total);
	for (const SvpMemoryRow &row : kSvpMemoryRows)
		table.counts(std::string(row.name), stats.*row.counts);
	table.counts("alloc_fail_order", stats.alloc_fail_order);
	svp_io(table, stats);
	table.end_row();
}

/* The tail is empty if it is all zero, as in JSON. */
static void kio(CsvTable &table, const CsvPrefix &prefix, Bytes payload)
{
	const auto kio = copy_payload<zem_kio>(payload);
	put_prefix(table, prefix).count("fg_bios", kio.fg_bios).count("bg_bios", kio.bg_bios);
	table.count("read_bios", kio.read_bios).count("write_sync_bios", kio.write_sync_bios);
	table.count("write_async_bios", kio.write_async_bios).count("read_pages", kio.read_pages);
	table.count("write_sync_pages", kio.write_sync_pages);
	table.count("write_async_pages", kio.write_async_pages);
	table.counts("read_sizes", kio.read_sizes);
	const Bytes tail = std::as_bytes(std::span(kio.tail));
	const bool is_empty =
		std::ranges::all_of(tail, [](std::byte byte) { return byte == std::byte{0}; });
	table.hex("tail_hex", is_empty ? Bytes() : tail).end_row();
}

/* A row for each device. */
static void kio_devices(CsvTable &table, const CsvPrefix &prefix, Bytes payload)
{
	const auto kio = copy_payload<zem_kio>(payload);
	for (std::size_t i = 0; i < ZEM_IO_DEVICES; i++) {
		const zem_io_disk &disk = kio.devices[i].disk;
		put_prefix(table, prefix).text("path", kIoDevices[i]);
		table.count("rd_ios", disk.rd_ios).count("rd_merges", disk.rd_merges);
		table.count("rd_sectors", disk.rd_sectors).count("rd_ticks_ms", disk.rd_ticks);
		table.count("wr_ios", disk.wr_ios).count("wr_merges", disk.wr_merges);
		table.count("wr_sectors", disk.wr_sectors).count("wr_ticks_ms", disk.wr_ticks);
		table.count("in_flight", disk.in_flight).count("io_ticks_ms", disk.io_ticks);
		table.count("time_in_queue_ms", disk.time_in_queue);
		for (const IoClass &io_class : kIoClasses) {
			const zem_io_latency &latency = kio.devices[i].*io_class.latency;
			const std::string name(io_class.name);
			table.counts(name + "_counts", latency.buckets);
			table.count(name + "_total_time_us",
				    total_time_us(latency.total_time).value_or(UINT64_MAX));
		}
		table.end_row();
	}
}

static void put_columns(CsvTable &table, const std::string &name, const zem_io_columns &columns)
{
	table.count(name + "_frb_bytes", columns.frb).count(name + "_fwb_bytes", columns.fwb);
	table.count(name + "_brb_bytes", columns.brb).count(name + "_bwb_bytes", columns.bwb);
	table.count(name + "_fbc", columns.fbc).count(name + "_bbc", columns.bbc);
	table.number(name + "_iowait_ns", columns.iowait);
	table.count(name + "_swc_bytes", columns.swc).count(name + "_awc_bytes", columns.awc);
}

/* A row for each rank that a UID has had. */
static void kio_uids(CsvTable &table, const CsvPrefix &prefix, Bytes payload)
{
	const auto kio = copy_payload<zem_kio>(payload);
	for (std::size_t i = 0; i < filled_ranks(kio.io_top); i++) {
		const zem_io_top &top = kio.io_top[i];
		put_prefix(table, prefix).number("rank", i + 1).number("uid", top.uid);
		put_columns(table, "value", top.value);
		table.count("read_calls", top.read_calls);
		put_columns(table, "delta", top.delta);
		table.count("delta_total_bytes", top.delta_total).end_row();
	}
}

/* A row for each rank that a UID has had. */
static void kio_iowait(CsvTable &table, const CsvPrefix &prefix, Bytes payload)
{
	const auto kio = copy_payload<zem_kio>(payload);
	for (std::size_t i = 0; i < filled_ranks(kio.iowait_top); i++) {
		const zem_iowait_top &top = kio.iowait_top[i];
		put_prefix(table, prefix).number("rank", i + 1).number("uid", top.uid);
		table.number("iowait_ns", top.iowait);
		table.count("delta_iowait_ns", top.delta_iowait).end_row();
	}
}

static void kzerod(CsvTable &table, const CsvPrefix &prefix, Bytes payload)
{
	const auto totals = copy_payload<zem_kzerod>(payload);
	put_prefix(table, prefix);
	table.signed_count("zero_page_alloc_failed_pages", totals.zero_page_alloc_failed);
	table.signed_count("zero_page_alloc_prezero_pages", totals.zero_page_alloc_prezero);
	table.signed_count("zero_page_list_alloc_total_pages", totals.zero_page_list_alloc_total);
	table.signed_count("zero_page_list_breakdown_total_pages",
			   totals.zero_page_list_breakdown_total);
	table.signed_count("zero_page_list_drain_total_pages", totals.zero_page_list_drain_total);
	table.end_row();
}

static void usb(CsvTable &table, const CsvPrefix &prefix, Bytes payload)
{
	const auto report = copy_payload<zem_usb>(payload);
	put_prefix(table, prefix).name("speed", field_text(report.speed));
	table.number("id_vendor", report.id_vendor).number("id_product", report.id_product);
	table.name("manufacturer", field_text(report.manufacturer));
	table.name("product", field_text(report.product)).number("event", report.event);
	table.name("message", field_text(report.message)).end_row();
}

static constexpr CsvFamily kFamilies[] = {
	{"cpu", ZEM_CHANNEL_CPU, sizeof(zem_cpu), cpu},
	{"load", ZEM_CHANNEL_LOAD, sizeof(zem_load), load},
	{"cgroup", ZEM_CHANNEL_CGROUP, sizeof(zem_cgroup), cgroup},
	{"sched", ZEM_CHANNEL_SCHED, sizeof(zem_sched), sched},
	{"svp", ZEM_CHANNEL_SVP, sizeof(zem_svp), svp},
	{"kio", ZEM_CHANNEL_KIO, sizeof(zem_kio), kio},
	{"kio_devices", ZEM_CHANNEL_KIO, sizeof(zem_kio), kio_devices},
	{"kio_uids", ZEM_CHANNEL_KIO, sizeof(zem_kio), kio_uids},
	{"kio_iowait", ZEM_CHANNEL_KIO, sizeof(zem_kio), kio_iowait},
	{"kzerod", ZEM_CHANNEL_KZEROD, sizeof(zem_kzerod), kzerod},
	{"usb", ZEM_CHANNEL_USB, sizeof(zem_usb), usb},
};

} // namespace csv

std::span<const CsvFamily> csv_families()
{
	return csv::kFamilies;
}

CsvTable &put_prefix(CsvTable &table, const CsvPrefix &prefix)
{
	table.number("record", prefix.record).number("time_ns", prefix.header.timestamp);
	table.text("time", prefix.time).number("train_number", prefix.header.train_number);
	return table.number("sub_type", prefix.header.sub_type);
}

} // namespace zemctl

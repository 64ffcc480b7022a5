// SPDX-License-Identifier: GPL-2.0
/*
 * zemctl io, zemctl fg and zemctl forget.
 */
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "command_fixture.h"
#include "fake_kioind.h"

namespace zemctl {

namespace {

class IoCommandTest : public CommandTest {
protected:
	void SetUp() override
	{
		CommandTest::SetUp();
		show(some_io());
		put("proc/zem_procstat/set", "");
		put("proc/zem_procstat/remove_uid_range", "");
	}

	void show(const zem_kio &kio) const
	{
		put("kioind/show1_diskstats", disk_view(kio));
		put("kioind/show2_uid_io", uid_view(kio));
		put("kioind/show3_bio_time", bio_view(kio));
	}

	Result run_io(const std::string &arguments) const
	{
		return run("--kioind kioind io " + arguments);
	}

	static zem_kio some_io()
	{
		zem_kio kio = {};
		kio.devices[0].disk = {100, 2, 800, 30, 50, 1, 400, 20, 0, 45, 0};
		kio.devices[0].read_fg = {{60, 0, 0, 0, 0, 0, 10}, 0, 123};
		kio.devices[1].read_fg = {{20, 0, 0, 0, 0, 0, 10}, 0, 123};
		kio.devices[1].write_bg = {{0, 4, 0, 0, 0, 0, 0}, 0, 0};
		kio.io_top[0].uid = 10050;
		kio.io_top[0].delta = {1, 2, 3, 4, 5, 6, 0, 7, 8};
		kio.io_top[0].delta_total = 10;
		kio.io_top[0].value = {11, 12, 13, 14, 15, 16, 0, 17, 18};
		kio.iowait_top[1] = {10060, 0, 3'000'000, 1'500'000};
		kio.fg_bios = 100;
		kio.bg_bios = 4;
		kio.read_bios = 100;
		kio.write_sync_bios = 3;
		kio.write_async_bios = 1;
		kio.read_pages = 200;
		kio.write_sync_pages = 6;
		kio.write_async_pages = 2;
		kio.read_sizes[0] = 21;
		kio.read_sizes[3] = 24;
		return kio;
	}
};

constexpr std::string_view kForegroundReads =
	"foreground reads since upload, by time per 4 KiB: 100\n"
	"     <1 ms        80   80.0 %  #################################################\n"
	"    <16 ms         0    0.0 %\n"
	"    <67 ms         0    0.0 %\n"
	"   <134 ms         0    0.0 %\n"
	"   <268 ms         0    0.0 %\n"
	"   <536 ms         0    0.0 %\n"
	"  >=536 ms        20   20.0 %  ############\n";

std::string idle(const std::string &title)
{
	std::string text = title + " since upload, by time per 4 KiB: 0\n";
	for (const char *label : {"     <1 ms", "    <16 ms", "    <67 ms", "   <134 ms",
				  "   <268 ms", "   <536 ms", "  >=536 ms"})
		text += std::string(label) + "         0    0.0 %\n";
	return text;
}

} // namespace

TEST_F(IoCommandTest, io_shows_devices_latencies_and_lists)
{
	const Result result = run_io("--ascii");
	EXPECT_EQ(result.err, "");
	EXPECT_EQ(result.status, 0);
	EXPECT_EQ(
		result.out,
		"/dev/block/sda (8:0)\n"
		"  read              100 in 30 ms, 2 merged, 800 sectors\n"
		"  wrote             50 in 20 ms, 1 merged, 400 sectors\n"
		"  busy              45 ms\n"
		"/dev/block/sde (8:64)\n"
		"  read              0 in 0 ms, 0 merged, 0 sectors\n"
		"  wrote             0 in 0 ms, 0 merged, 0 sectors\n"
		"  busy              0 ms\n"
		"/dev/block/by-name/super (not found)\n"
		"  read              0 in 0 ms, 0 merged, 0 sectors\n"
		"  wrote             0 in 0 ms, 0 merged, 0 sectors\n"
		"  busy              0 ms\n"
		"/dev/block/by-name/userdata (not found)\n"
		"  read              0 in 0 ms, 0 merged, 0 sectors\n"
		"  wrote             0 in 0 ms, 0 merged, 0 sectors\n"
		"  busy              0 ms\n"
		"\n" + std::string(kForegroundReads) +
			"\n" + idle("background reads") + "\n" + idle("foreground writes") +
			"\n"
			"background writes since upload, by time per 4 KiB: 4\n"
			"     <1 ms         0    0.0 %\n"
			"    <16 ms         4  100.0 %  "
			"#################################################\n"
			"    <67 ms         0    0.0 %\n"
			"   <134 ms         0    0.0 %\n"
			"   <268 ms         0    0.0 %\n"
			"   <536 ms         0    0.0 %\n"
			"  >=536 ms         0    0.0 %\n"
			"\n"
			"bios since upload reads 100 of 200 pages, sync writes 3 of 6 pages, async "
			"writes 1 of 2 pages; foreground 100, background 4\n"
			"last interval     reads of 1 page 21, of 2 0, of 3 to 8 0, of more 24\n"
			"                  times per 4 KiB: foreground reads 12.3 ms, background "
			"reads 0.0 ms, foreground writes 0.0 ms, background writes 0.0 ms\n"
			"\n"
			"most IO in the last interval\n"
			"   1. uid 10050: 10 bytes\n"
			"      interval  frb 1, fwb 2, brb 3, bwb 4, fbc 5, bbc 6, swc 7, awc 8\n"
			"      in all    frb 11, fwb 12, brb 13, bwb 14, fbc 15, bbc 16, swc 17, "
			"awc 18\n"
			"most IO wait in the last interval\n"
			"   1. uid 0: 0.000 ms, in all 0.000 ms\n"
			"   2. uid 10060: 1.500 ms, in all 3.000 ms\n");
}

TEST_F(IoCommandTest, io_of_each_device)
{
	const std::string text = run_io("--ascii --devices").out;
	EXPECT_EQ(text.find(kForegroundReads), std::string::npos);
	EXPECT_NE(text.find("\n/dev/block/sda, foreground reads since upload, by time per 4 KiB: "
			    "70\n     <1 ms        60   85.7 %  ####"),
		  std::string::npos)
		<< text;
	EXPECT_NE(text.find("\n/dev/block/sde, background writes since upload, by time per 4 KiB: "
			    "4\n"),
		  std::string::npos)
		<< text;
	EXPECT_NE(text.find("\n/dev/block/by-name/userdata, " + idle("background writes")),
		  std::string::npos)
		<< text;
}

TEST_F(IoCommandTest, io_as_json)
{
	const Result result = run_io("--json");
	EXPECT_EQ(result.out.find('\n'), result.out.size() - 1);
	const auto object = nlohmann::json::parse(result.out);
	EXPECT_EQ(object["schema"], "zemctl.io");
	EXPECT_EQ(object["io_bounds_us"],
		  nlohmann::json({1000, 16000, 67000, 134000, 268000, 536000}));
	ASSERT_EQ(object["devices"].size(), 4u);
	EXPECT_EQ(object["devices"][1]["path"], "/dev/block/sde");
	EXPECT_EQ(object["devices"][1]["major"], 8);
	EXPECT_EQ(object["devices"][1]["minor"], 64);
	EXPECT_EQ(object["devices"][1]["read_fg"]["counts"],
		  nlohmann::json({20, 0, 0, 0, 0, 0, 10}));
	EXPECT_EQ(object["devices"][0]["disk"]["io_ticks_ms"], 45);
	ASSERT_EQ(object["io_top"].size(), 1u);
	EXPECT_EQ(object["io_top"][0]["value"], nlohmann::json({{"frb_bytes", 11},
								{"fwb_bytes", 12},
								{"brb_bytes", 13},
								{"bwb_bytes", 14},
								{"fbc", 15},
								{"bbc", 16},
								{"swc_bytes", 17},
								{"awc_bytes", 18}}));
	EXPECT_FALSE(object["io_top"][0].contains("read_calls")) << "no view shows it";
	EXPECT_FALSE(object.contains("tail_hex"));
	EXPECT_EQ(object["iowait_top_cut"], false);
	EXPECT_EQ(object["iowait_top"][1], nlohmann::json({{"rank", 2},
							   {"uid", 10060},
							   {"iowait_ns", "3000000"},
							   {"delta_iowait_ns", 1500000}}));
	EXPECT_EQ(object["read_pages"], 200);
}

TEST_F(IoCommandTest, io_says_that_a_list_was_cut_off)
{
	zem_kio kio = some_io();
	for (zem_io_top &top : kio.io_top)
		top.delta_total = top.value.frb = top.value.fwb = top.value.awc = UINT64_MAX;
	show(kio);
	const Result result = run_io("--json");
	EXPECT_EQ(result.err,
		  "zemctl: kioind/show2_uid_io: the numbers are so wide that the kernel "
		  "cut off the list by IO wait\n");
	EXPECT_EQ(result.status, 0);
	const auto object = nlohmann::json::parse(result.out);
	EXPECT_EQ(object["io_top"][9]["delta_total_bytes"], nullptr);
	EXPECT_EQ(object["iowait_top_cut"], true);
}

TEST_F(IoCommandTest, io_that_fails_names_the_view)
{
	put("kioind/show3_bio_time", "");
	const Result result = run_io("");
	EXPECT_EQ(result.err, "zemctl: kioind/show3_bio_time: not understood: \"\"\n");
	EXPECT_EQ(result.out, "");
	EXPECT_EQ(result.status, 1);
	put("kioind/show2_uid_io", "nothing\n");
	EXPECT_EQ(run_io("").err,
		  "zemctl: kioind/show2_uid_io: \"/proc/uid_io/stats:\" is missing\n");
	fs::remove_all(root / "kioind");
	EXPECT_EQ(run_io("").err, "zemctl: kioind/show1_diskstats: not there: the zem module is "
				  "not loaded\n");
}

TEST_F(IoCommandTest, fg_writes_the_state)
{
	EXPECT_EQ(run("fg 10050 on").status, 0);
	EXPECT_EQ(get("proc/zem_procstat/set"), "10050 0");
	EXPECT_EQ(run("fg 4294967295 off").status, 0);
	EXPECT_EQ(get("proc/zem_procstat/set"), "4294967295 1");
	EXPECT_EQ(run("fg 10050 on").err, "");
}

TEST_F(IoCommandTest, fg_of_the_first_uid_says_that_it_does_not_count)
{
	const Result result = run("fg 0 on");
	EXPECT_EQ(result.err, "zemctl: the bios of UID 0 still count as background\n");
	EXPECT_EQ(result.status, 0);
	EXPECT_EQ(get("proc/zem_procstat/set"), "0 0");
	EXPECT_EQ(run("fg 0 off").err, "");
}

TEST_F(IoCommandTest, forget_writes_the_range)
{
	EXPECT_EQ(run("forget 10050-10059").status, 0);
	EXPECT_EQ(get("proc/zem_procstat/remove_uid_range"), "10050-10059\n");
	EXPECT_EQ(run("forget 10050").status, 0);
	EXPECT_EQ(get("proc/zem_procstat/remove_uid_range"), "10050-10050\n");
	EXPECT_EQ(run("forget 0-4294967295").status, 0);
	EXPECT_EQ(get("proc/zem_procstat/remove_uid_range"), "0-4294967295\n");
}

TEST_F(IoCommandTest, what_is_no_uid_never_reaches_the_kernel)
{
	EXPECT_EQ(run("fg 4294967296 on").err,
		  "zemctl: 4294967296: not a UID, which is 0 to 4294967295\n");
	EXPECT_EQ(run("forget 20-10").err, "zemctl: 20-10: the first UID is above the last\n");
	for (const char *arguments : {"fg",
				      "fg 1",
				      "fg x on",
				      "fg 1x on",
				      "fg '' on",
				      "fg ' 1' on",
				      "fg +1 on",
				      "fg 1 maybe",
				      "fg -- -1 on",
				      "fg 1 on more",
				      "forget",
				      "forget x",
				      "forget 1-",
				      "forget -- -1",
				      "forget 1-x",
				      "forget 1--2",
				      "forget 1-2-3",
				      "forget 4294967296",
				      "forget 0-4294967296",
				      "io extra",
				      "io --json --devices",
				      "io --json --ascii"}) {
		const Result result = run(arguments);
		EXPECT_EQ(result.status, 2) << arguments << ": " << result.err;
		EXPECT_NE(result.err, "") << arguments;
	}
	EXPECT_EQ(get("proc/zem_procstat/set"), "");
	EXPECT_EQ(get("proc/zem_procstat/remove_uid_range"), "");
}

TEST_F(IoCommandTest, fg_and_forget_make_no_file_that_the_module_did_not)
{
	fs::remove_all(root / "proc/zem_procstat");
	const Result result = run("fg 1 on");
	EXPECT_EQ(result.err, "zemctl: proc/zem_procstat/set: not there: the zem module is not "
			      "loaded\n");
	EXPECT_EQ(result.status, 1);
	EXPECT_EQ(run("forget 1").status, 1);
	EXPECT_FALSE(fs::exists(root / "proc/zem_procstat"));
}

TEST_F(IoCommandTest, what_the_kernel_refuses_is_named)
{
	for (const char *file : {"set", "remove_uid_range"}) {
		fs::remove(root / "proc/zem_procstat" / file);
		fs::create_symlink("/dev/full", root / "proc/zem_procstat" / file);
	}
	EXPECT_EQ(run("fg 1 on").err, "zemctl: proc/zem_procstat/set: No space left on device\n");
	EXPECT_EQ(run("forget 1").err,
		  "zemctl: proc/zem_procstat/remove_uid_range: No space left on device\n");
}

TEST_F(IoCommandTest, help_says_that_io_consumes)
{
	EXPECT_NE(run("io --help").out.find("consumes"), std::string::npos);
}

} // namespace zemctl

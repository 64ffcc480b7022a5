// SPDX-License-Identifier: GPL-2.0
/*
 * zemctl serve as users run it: with watch, record and a monitoring system as its clients.
 */
#include <gtest/gtest.h>

#include "capture_fixture.h"
#include "command_fixture.h"
#include "metrics_fixture.h"

namespace zemctl {

namespace {

/* Shell functions for scripts: "serve ARGUMENTS" starts a server and sets $pid and $url. */
constexpr std::string_view kServeFunctions = R"(
get() { /usr/bin/python3 -Ic '
import sys, urllib.request
request = urllib.request.Request(sys.argv[1], headers={"Accept": "application/openmetrics-text"})
opener = urllib.request.build_opener(urllib.request.ProxyHandler({}))
sys.stdout.write(opener.open(request).read().decode())' "$@"; }
serve() {
	rm -f log
	$zemctl serve --listen 127.0.0.1:0 "$@" 2>log &
	pid=$!
	until url=$(grep -o 'http://.*/metrics' log); do
		kill -0 $pid || return 1
		sleep 0.02
	done
}
has() { get $url | grep -qx "$@"; }
until_has() { until has "$@"; do sleep 0.02; done; }
end() { kill -TERM $pid; wait $pid; }
)";

class ServeCommandTest : public CommandTest {
protected:
	void SetUp() override
	{
		CommandTest::SetUp();
		fs::create_directories(root / "proc");
		fs::create_symlink("/proc/locks", root / "proc/locks");
		const ByteVector two = made_record(ZEM_CHANNEL_WIFI, "first") +
				       made_record(ZEM_CHANNEL_TEST, "second");
		put("two", {reinterpret_cast<const char *>(two.data()), two.size()});
	}

	Result serving(const std::string &script) const
	{
		return shell(std::string(kServeFunctions) + script);
	}
};

} // namespace

TEST_F(ServeCommandTest, watch_and_record_read_the_stream_of_a_server)
{
	const Result result =
		serving("serve || exit 1\n"
			"$zemctl watch --json --records 2 >watched 2>watch.err & w=$!\n"
			"$zemctl record --strict -o capture --records 2 & r=$!\n"
			"until_has 'zem_server_clients 2'\n"
			"cat two 1<>shared\n"
			"wait $w && wait $r && end");
	EXPECT_EQ(result.status, 0) << result.err << get("log");
	EXPECT_EQ(objects_of(get("watched"), "record").size(), 2u);
	const std::string capture = get("capture");
	const Bytes bytes = std::as_bytes(std::span(capture));
	const CaptureContent content = read_all({bytes.begin(), bytes.end()});
	EXPECT_EQ(content.payloads, (std::vector<std::string>{"first", "second"}));
	EXPECT_TRUE(content.finished);
	EXPECT_FALSE(fs::exists(root / "socket")) << "the server removes it";
}

TEST_F(ServeCommandTest, a_second_reader_of_the_buffer_is_refused_with_the_pid_of_the_first)
{
	const Result result = serving("serve\ndirect=${zemctl%--socket*}\n"
				      "$direct --socket elsewhere watch 2>refused; echo $?\n"
				      "$direct --socket other serve --no-listen 2>second; echo $?\n"
				      "echo $pid; end");
	std::istringstream lines(result.out);
	std::string watch_status, serve_status, pid;
	lines >> watch_status >> serve_status >> pid;
	EXPECT_EQ(watch_status, "1");
	EXPECT_EQ(serve_status, "1");
	const std::string message =
		"zemctl: zem/trace: process " + pid +
		" reads the records already; zemctl serve lets several programs "
		"read them\n";
	EXPECT_EQ(get("refused"), message);
	EXPECT_EQ(get("second"), message);
	EXPECT_EQ(result.status, 0);
}

TEST_F(ServeCommandTest, without_a_server_readers_read_the_buffer)
{
	show_records(made_record(ZEM_CHANNEL_TEST, "hello"));
	put("socket", "no socket");
	EXPECT_NE(run("watch --records 1").out.find("hello"), std::string::npos);
}

TEST_F(ServeCommandTest, the_socket_of_a_server_that_was_killed_is_replaced)
{
	const Result result = serving("serve\nkill -KILL $pid; wait $pid\n"
				      "test -S socket && echo left\n"
				      "serve && $zemctl watch --seconds 0.1; echo $?; end");
	EXPECT_NE(result.out.find("left\n"), std::string::npos);
	EXPECT_NE(result.out.find("\n0\n"), std::string::npos) << result.out << result.err;
}

TEST_F(ServeCommandTest, each_signal_ends_the_streams_in_order)
{
	for (const char *signal : {"INT", "TERM", "HUP"}) {
		const Result result = serving(
			"serve\n$zemctl record --strict -o capture 2>summary & r=$!\n"
			"until_has 'zem_server_clients 1'\n"
			"kill -" +
			std::string(signal) + " $pid; wait $pid; echo $?; wait $r; echo $?");
		EXPECT_EQ(result.out, "0\n0\n") << signal << result.err;
		EXPECT_NE(get("summary").find("zemctl: zemctl serve has ended\n"),
			  std::string::npos)
			<< get("summary");
		EXPECT_EQ(run("dump --strict capture").status, 0);
	}
}

TEST_F(ServeCommandTest, a_server_that_is_killed_is_a_failure_of_its_clients)
{
	const Result result = serving("serve\n$zemctl record -o capture 2>summary & r=$!\n"
				      "until_has 'zem_server_clients 1'\n"
				      "kill -KILL $pid; wait $r; echo $?");
	EXPECT_EQ(result.out, "1\n");
	EXPECT_NE(get("summary").find("zemctl: socket: the connection to zemctl serve is lost\n"),
		  std::string::npos)
		<< get("summary");
}

TEST_F(ServeCommandTest, counters_start_again_with_the_server_and_say_when)
{
	const Result result = serving("serve\ncat two 1<>shared\n"
				      "until_has 'zem_records_total{channel=\"wifi\"} 1'\n"
				      "get $url >first; end\n"
				      "head -c 8192 /dev/zero 1<>shared\n"
				      "serve; get $url >second; end");
	EXPECT_EQ(result.status, 0) << result.err;
	const auto first = samples_of(get("first")), second = samples_of(get("second"));
	const std::string series = "{channel=\"wifi\"}";
	EXPECT_EQ(first.at("zem_records_total" + series), "1");
	EXPECT_EQ(second.at("zem_records_total" + series), "0");
	EXPECT_LT(std::stod(first.at("zem_records_created" + series)),
		  std::stod(second.at("zem_records_created" + series)));
}

TEST_F(ServeCommandTest, a_gap_is_in_the_metrics_and_the_counters_go_on)
{
	const ByteVector other = made_record(ZEM_CHANNEL_WIFI, "other");
	put("other", {reinterpret_cast<const char *>(other.data()), other.size()});
	const Result result = serving("serve\ncat two 1<>shared\n"
				      "until_has 'zem_records_total{channel=\"wifi\"} 1'\n"
				      "cat other 1<>shared\n"
				      "until_has 'zem_records_total{channel=\"wifi\"} 2'\n"
				      "get $url >metrics; end");
	const auto values = samples_of(get("metrics"));
	EXPECT_EQ(values.at("zem_gaps_total"), "1") << "another reader took the first records";
	EXPECT_EQ(result.status, 0);
}

TEST_F(ServeCommandTest, the_module_counters_are_in_the_metrics)
{
	count("records_pushed", 123);
	const Result result = serving("serve; get $url >metrics; end");
	EXPECT_EQ(samples_of(get("metrics")).at("zem_module_records_pushed_total"), "123");
	EXPECT_EQ(shell(ZEMCTL_METRICS_CHECK " metrics").status, 0);
}

TEST_F(ServeCommandTest, a_text_file_is_replaced_as_a_whole_and_removed_at_the_end)
{
	fs::create_directories(root / "folder");
	const Result result = serving(
		"$zemctl serve --no-listen --textfile folder --textfile-seconds 0.05 2>log & "
		"pid=$!\n"
		"until test -e folder/zem.prom; do sleep 0.02; done\n"
		"cat two 1<>shared\n"
		"until grep -qx 'zem_records_total{channel=\"wifi\"} 1' folder/zem.prom; do\n"
		"sleep 0.02; done\ncp folder/zem.prom metrics; end");
	EXPECT_EQ(result.status, 0);
	EXPECT_TRUE(fs::is_empty(root / "folder"));
	EXPECT_EQ(get("metrics").find("# EOF"), std::string::npos) << "collectors do not know it";
	EXPECT_NE(get("metrics").find("# TYPE zem_records_total counter\n"), std::string::npos);
}

TEST_F(ServeCommandTest, addresses_and_folders_that_cannot_be_used_are_failures)
{
	const Result address = run("serve --listen nowhere");
	EXPECT_EQ(address.status, 2);
	EXPECT_NE(address.err.find("nowhere is not an address"), std::string::npos) << address.err;
	const Result folder = run("serve --no-listen --textfile nowhere");
	EXPECT_EQ(folder.status, 1);
	EXPECT_NE(folder.err.find("zemctl: nowhere/zem.prom.part: "), std::string::npos);
	EXPECT_EQ(run("serve --no-listen --textfile-seconds 1").status, 2);
	EXPECT_EQ(run("serve --no-listen --listen 127.0.0.1:0").status, 2);
	EXPECT_FALSE(fs::exists(root / "socket"));
}

} // namespace zemctl

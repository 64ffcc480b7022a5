// SPDX-License-Identifier: GPL-2.0
/*
 * The description of the machine and of a moment in a capture's marks.
 */
#include "kernel/machine.h"

#include <gtest/gtest.h>

#include "capture_fixture.h"
#include "kernel/moment.h"
#include "module_files.h"

namespace zemctl {

namespace {

class MachineTest : public testing::Test, protected ModuleFiles {
protected:
	void put_cpu(int cpu, std::string_view capacity, std::string_view siblings) const
	{
		const std::string folder = "sys/devices/system/cpu/cpu" + std::to_string(cpu) + "/";
		if (!capacity.empty())
			put(folder + "cpu_capacity", capacity);
		put(folder + "topology/core_siblings_list", siblings);
	}
	Machine machine() const { return read_machine(root.string()); }
	std::vector<std::uint32_t> clusters() const
	{
		std::vector<std::uint32_t> clusters;
		for (const CpuDescription &cpu : machine().cpus)
			clusters.push_back(cpu.cluster);
		return clusters;
	}
};

using Clusters = std::vector<std::uint32_t>;

} // namespace

TEST_F(MachineTest, cpus_of_one_capacity_are_a_cluster)
{
	put("sys/devices/system/cpu/possible", "0-2,5\n");
	put_cpu(0, "325\n", "0-5\n");
	put_cpu(1, "325\n", "0-5\n");
	put_cpu(2, "1024\n", "0-5\n");
	put_cpu(5, "325\n", "0-5\n");
	EXPECT_EQ(clusters(), (Clusters{0, 0, 1, 0}));
	const Machine read = machine();
	EXPECT_EQ(read.cpus[3].cpu, 5u);
	EXPECT_EQ(read.cpus[2].capacity, 1024u);
	EXPECT_EQ(read.description.cpus, 4u);
}

TEST_F(MachineTest, without_capacities_packages_are_clusters)
{
	put("sys/devices/system/cpu/possible", "0-3\n");
	for (int cpu = 0; cpu < 4; cpu++)
		put_cpu(cpu, "", cpu < 2 ? "0-1\n" : "2-3\n");
	EXPECT_EQ(clusters(), (Clusters{0, 0, 1, 1}));
	EXPECT_EQ(machine().cpus[0].capacity, 0u);
}

TEST_F(MachineTest, the_model_is_that_of_the_device_tree_or_of_dmi)
{
	EXPECT_STREQ(machine().description.model, "");
	put("sys/class/dmi/id/product_name", "A Server\n");
	EXPECT_STREQ(machine().description.model, "A Server");
	put("sys/firmware/devicetree/base/model", std::string_view("A Phone\0", 8));
	EXPECT_STREQ(machine().description.model, "A Phone");
}

TEST_F(MachineTest, it_has_the_boot_and_the_kernel)
{
	put("proc/sys/kernel/random/boot_id", "0f6d2ee3-21ba-4e76-8a4a-c5d5a0c3ddae\n");
	const MachineDescription description = machine().description;
	EXPECT_STREQ(description.boot_id, "0f6d2ee3-21ba-4e76-8a4a-c5d5a0c3ddae");
	EXPECT_STRNE(description.kernel_release, "");
	EXPECT_GE(description.page_size, 4096u);
}

TEST_F(MachineTest, packages_have_their_uids)
{
	put("data/system/packages.list",
	    "com.example.maps 10050 0 /data/user/0/com.example.maps default none\n"
	    "broken\n"
	    "com.example.backup 10060 1 /data\n");
	EXPECT_EQ(machine().packages, "10050 com.example.maps\n10060 com.example.backup\n");
}

TEST_F(MachineTest, many_packages_are_in_several_marks_of_whole_lines)
{
	Machine many = {};
	for (int i = 10000; i < 19000; i++)
		many.packages += std::to_string(i) + " com.example.app" + std::to_string(i) + "\n";
	CaptureInMemory capture;
	write_machine(capture.writer, many);
	capture.writer.finish();
	std::string packages;
	int marks = 0;
	for (const ReadMark &mark : read_all(capture.content()).marks) {
		if (mark.kind != MarkKind::kPackages)
			continue;
		packages += std::string(reinterpret_cast<const char *>(mark.payload.data()),
					mark.payload.size());
		EXPECT_EQ(packages.back(), '\n');
		marks++;
	}
	EXPECT_EQ(packages, many.packages);
	EXPECT_GT(marks, 5);
}

TEST_F(MachineTest, the_clocks_are_read_together)
{
	const ClockReading first = read_clocks();
	const ClockReading second = read_clocks();
	EXPECT_GT(first.realtime, 1'600'000'000'000'000'000u);
	EXPECT_GE(first.boottime + first.uncertainty, first.monotonic);
	EXPECT_GE(second.monotonic, first.monotonic);
	EXPECT_GE(second.boottime, first.boottime);
	EXPECT_EQ(first.utc_offset, 0) << "the tests run with TZ=UTC";
}

TEST_F(MachineTest, counters_that_a_module_lacks_are_unknown)
{
	count("records_overwritten", 5);
	fs::remove(counters() / "records_dropped");
	const ModuleCounters read = read_module_counters(counters());
	EXPECT_EQ(read.values[1], 5u);
	EXPECT_EQ(read.known, 0x1ffu & ~(1u << 4));
}

} // namespace zemctl

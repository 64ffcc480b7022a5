// SPDX-License-Identifier: GPL-2.0
/* USB devices that are connected, fail and are disconnected, as records of the usb channel. */
#include <cstring>

#include "host/fixture.h"

namespace test {

using ::testing::IsEmpty;
using ::testing::SizeIs;

class Usb : public ZemTest {
protected:
	/* Raises the hook. Return: its records. */
	std::vector<zem_usb> raise(int type, void *subject = nullptr)
	{
		hand_back();
		kernel.hooks.usb_zem_set(subject, type);
		kernel.run_until_idle();
		std::vector<zem_usb> found;
		for (const Record &record : records()) {
			EXPECT_EQ(record.header.channel, 1);
			EXPECT_EQ(record.header.sub_type, 0);
			EXPECT_EQ(record.header.len, 232U);
			memcpy(&found.emplace_back(), record.payload.data(), sizeof(zem_usb));
		}
		return found;
	}

	/* Raises the hook. Return: its only record. */
	[[nodiscard]] zem_usb event(int type, void *subject = nullptr)
	{
		const std::vector<zem_usb> found = raise(type, subject);
		if (found.size() != 1)
			throw std::runtime_error("not one record");
		return found[0];
	}

	/* Returns all 32 bytes of a field. */
	[[nodiscard]] static std::string bytes(const char (&field)[32]) { return {field, 32}; }

	[[nodiscard]] static std::string padded(const std::string &text)
	{
		std::string field = text;
		field.resize(32);
		return field;
	}

	usb_device device;
	block_device &disk = kernel.blocks.at("/dev/block/sda");
};

TEST_F(Usb, new_device_is_reported_with_all_its_properties)
{
	const zem_usb usb = event(0, &device);
	EXPECT_EQ(bytes(usb.speed), padded("high-speed"));
	EXPECT_EQ(usb.id_vendor, 0x1a2b);
	EXPECT_EQ(usb.id_product, 0x3c4d);
	EXPECT_EQ(bytes(usb.manufacturer), padded("maker"));
	EXPECT_EQ(bytes(usb.product), padded("stick"));
	EXPECT_EQ(usb.event, 0U);
	EXPECT_STREQ(usb.message, "New device found");
}

TEST_F(Usb, payload_has_its_fields_where_readers_look)
{
	static_cast<void>(event(0, &device));
	const std::string payload = records().at(0).payload;
	ASSERT_THAT(payload, SizeIs(232));
	EXPECT_EQ(payload.substr(0, 11), std::string("high-speed\0", 11));
	EXPECT_EQ(payload.substr(32, 4), "\x2b\x1a\x4d\x3c");
	EXPECT_EQ(payload.substr(36, 6), std::string("maker\0", 6));
	EXPECT_EQ(payload.substr(68, 6), std::string("stick\0", 6));
	EXPECT_EQ(payload.substr(100, 4), std::string(4, '\0'));
	EXPECT_EQ(payload.substr(104, 17), std::string("New device found\0", 17));
}

TEST_F(Usb, new_disk_belongs_to_the_device_seen_last)
{
	static_cast<void>(event(0, &device));
	const zem_usb usb = event(1);
	EXPECT_EQ(usb.event, 1U);
	EXPECT_STREQ(usb.message, "Attached new SCSI disk");
	EXPECT_EQ(usb.id_vendor, 0x1a2b);
	EXPECT_EQ(bytes(usb.product), padded("stick"));
}

TEST_F(Usb, io_error_names_the_disk_and_the_block)
{
	static_cast<void>(event(0, &device));
	buffer_head failing{&disk, 18446744073709551615ull};
	const zem_usb usb = event(2, &failing);
	EXPECT_EQ(usb.event, 2U);
	EXPECT_STREQ(usb.message,
		     "Buffer I/O error on dev sda, logical block 18446744073709551615");
	EXPECT_EQ(bytes(usb.manufacturer), padded("maker"));
}

TEST_F(Usb, text_of_an_earlier_message_stays_behind_a_shorter_one)
{
	static_cast<void>(event(0, &device));
	buffer_head failing{&disk, 7};
	static_cast<void>(event(2, &failing));
	const zem_usb usb = event(1);
	EXPECT_STREQ(usb.message, "Attached new SCSI disk");
	/* "Buffer I/O error on dev sda, logical block 7" from its 23rd letter on. */
	EXPECT_STREQ(usb.message + 23, " sda, logical block 7");
	EXPECT_STREQ(event(0, &device).message + 17, "new SCSI disk" + 8);
}

TEST_F(Usb, longest_message_ends_in_its_field)
{
	static_cast<void>(event(0, &device));
	block_device &named = kernel.blocks.add("/dev/long", 8, 5, std::string(200, 'n'));
	buffer_head failing{&named, 7};
	const zem_usb usb = event(2, &failing);
	EXPECT_EQ(std::string(usb.message, 127),
		  "Buffer I/O error on dev " + std::string(103, 'n'));
	EXPECT_EQ(usb.message[127], '\0');
}

TEST_F(Usb, disconnect_is_reported_and_then_there_is_no_device)
{
	static_cast<void>(event(0, &device));
	buffer_head failing{&disk, 7};
	static_cast<void>(event(2, &failing));
	usb_device other{.speed = "low-speed",
			 .vendor = 0x9999,
			 .product = 0x8888,
			 .manufacturer_name = std::nullopt,
			 .product_name = "mouse"};
	const zem_usb usb = event(10, &other);
	EXPECT_EQ(usb.event, 10U);
	EXPECT_STREQ(usb.message, "USB disconnect");
	EXPECT_EQ(usb.id_vendor, 0x9999);
	EXPECT_EQ(usb.id_product, 0x8888);
	EXPECT_STREQ(usb.speed, "low-speed");
	EXPECT_EQ(bytes(usb.manufacturer), padded("unknow"));
	EXPECT_EQ(bytes(usb.product), padded("mouse"));

	EXPECT_THAT(raise(1), IsEmpty());
	EXPECT_THAT(raise(2, &failing), IsEmpty());
	const zem_usb again = event(0, &device);
	EXPECT_EQ(std::string(again.message + 17, 111), std::string(111, '\0'))
		<< "nothing of the one before is left";
	EXPECT_EQ(bytes(again.speed), padded("high-speed"));
}

TEST_F(Usb, disconnect_before_any_device_is_reported_too)
{
	EXPECT_EQ(event(10, &device).event, 10U);
	EXPECT_THAT(raise(1), IsEmpty());
}

TEST_F(Usb, disk_and_error_before_any_device_are_dropped)
{
	buffer_head failing{&disk, 7};
	EXPECT_THAT(raise(1), IsEmpty());
	EXPECT_THAT(raise(2, &failing), IsEmpty());
	EXPECT_THAT(raise(2, nullptr), IsEmpty());
}

TEST_F(Usb, device_without_a_vendor_id_is_reported_but_not_kept)
{
	device.vendor = 0;
	EXPECT_EQ(event(0, &device).id_product, 0x3c4d);
	EXPECT_THAT(raise(1), IsEmpty());
}

TEST_F(Usb, other_types_are_ignored)
{
	static_cast<void>(event(0, &device));
	for (const int type : {-1, 3, 5, 9, 11, 256, -2147483647 - 1}) {
		EXPECT_THAT(raise(type, &device), IsEmpty()) << type;
		EXPECT_THAT(raise(type, nullptr), IsEmpty()) << type;
	}
	EXPECT_STREQ(event(1).message, "Attached new SCSI disk");
}

TEST_F(Usb, event_without_the_device_it_is_about_is_logged_and_changes_nothing)
{
	static_cast<void>(event(0, &device));
	EXPECT_THAT(raise(0, nullptr), IsEmpty());
	EXPECT_THAT(raise(10, nullptr), IsEmpty());
	EXPECT_EQ(log(), LogLines(2, sim::err("android_vh_usb_hook_zem_set: data is null! \n")));
	EXPECT_EQ(event(1).id_vendor, 0x1a2b);
}

TEST_F(Usb, error_without_the_buffer_it_is_about_is_ignored)
{
	static_cast<void>(event(0, &device));
	EXPECT_THAT(raise(2, nullptr), IsEmpty());
	EXPECT_STREQ(event(1).message, "Attached new SCSI disk");
}

struct Name {
	const char *name;
	std::optional<std::string> text;
	std::string shown;
};

class UsbNames : public Usb, public ::testing::WithParamInterface<Name> {};

TEST_P(UsbNames, fill_their_fields_and_no_more)
{
	/* Longer names of an earlier device leave nothing. */
	device.manufacturer_name = device.product_name = std::string(40, 'z');
	static_cast<void>(event(0, &device));

	device.manufacturer_name = GetParam().text;
	device.product_name = "stick";
	zem_usb usb = event(0, &device);
	EXPECT_EQ(bytes(usb.manufacturer), padded(GetParam().shown));
	EXPECT_EQ(bytes(usb.product), padded("stick"));

	device.manufacturer_name = "maker";
	device.product_name = GetParam().text;
	usb = event(0, &device);
	EXPECT_EQ(bytes(usb.manufacturer), padded("maker"));
	EXPECT_EQ(bytes(usb.product), padded(GetParam().shown));
	EXPECT_EQ(usb.event, 0U);
}

INSTANTIATE_TEST_SUITE_P(
	UsbEvents, UsbNames,
	::testing::Values(Name{"none", std::nullopt, "unknow"}, Name{"empty", "", ""},
			  Name{"of_31", std::string(31, 'a'), std::string(31, 'a')},
			  Name{"of_32", std::string(32, 'b'), std::string(32, 'b')},
			  Name{"of_33", std::string(33, 'c'), std::string(32, 'c')},
			  Name{"of_40", std::string(40, 'd'), std::string(32, 'd')}),
	[](const auto &info) { return std::string(info.param.name); });

TEST_F(Usb, speed_of_31_letters_fits)
{
	device.speed = std::string(31, 's');
	EXPECT_EQ(bytes(event(0, &device).speed), padded(device.speed));
}

TEST_F(Usb, speed_that_does_not_fit_is_fatal)
{
	device.speed = std::string(32, 's');
	EXPECT_DEATH(kernel.hooks.usb_zem_set(&device, 0), "BUG");
}

TEST_F(Usb, nothing_is_written_while_trace_on_is_0_but_the_device_is_known)
{
	store("trace_on", "0");
	EXPECT_THAT(raise(0, &device), IsEmpty());
	store("trace_on", "1");
	EXPECT_EQ(event(1).id_vendor, 0x1a2b);
	EXPECT_EQ(log(),
		  LogLines({sim::info("trace_on disable\n"), sim::info("trace_on enable\n")}));
}

TEST_F(Usb, refused_record_is_logged_and_the_device_is_forgotten_nevertheless)
{
	static_cast<void>(event(0, &device));
	kernel.faults.fail("ring_buffer_lock_reserve");
	EXPECT_THAT(raise(10, &device), IsEmpty());
	EXPECT_EQ(log(), LogLines({sim::err("get ringbuffer fail event_len:264\n")}));
	EXPECT_THAT(raise(1), IsEmpty());
}

class UsbStartUp : public UnloadedTest {};

TEST_F(UsbStartUp, goes_on_without_the_probe)
{
	/* Six for the IO indicators, four for the scheduler and the SVP tasks. */
	kernel.faults.fail("tracepoint_probe_register", 11);
	load();
	EXPECT_THAT(kernel.hooks.attached(), ::testing::SizeIs(15));
	EXPECT_THAT(kernel.hooks.attached(), ::testing::Not(::testing::Contains("vh_usb_zem_set")));
	push("works");
	EXPECT_THAT(drained_payloads(), ::testing::ElementsAre("works"));
	kernel.faults.at("kthread_stop", [this] { push("last"); });
	module.unload();
}

} /* namespace test */

// SPDX-License-Identifier: GPL-2.0
/*
 * The rules of JSON output: numbers that every consumer can hold, and strings of any bytes.
 */
#include "text/json_writer.h"

#include <cmath>
#include <span>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace zemctl {

namespace {

/* Returns what name() makes of @bytes, as JSON and as the string that a consumer gets. */
std::string written(std::string_view bytes)
{
	JsonWriter json;
	json.name(bytes);
	return std::string(json.take_line());
}

std::string read_back(std::string_view bytes)
{
	return nlohmann::json::parse(written(bytes)).get<std::string>();
}

/* Undoes the escapes of name(). */
std::string original(const std::string &name)
{
	std::string bytes;
	for (std::size_t i = 0; i < name.size(); i++) {
		if (name[i] != '\\') {
			bytes += name[i];
		} else if (name[i + 1] == 'x') {
			bytes += static_cast<char>(std::stoi(name.substr(i + 2, 2), nullptr, 16));
			i += 3;
		} else {
			bytes += name[++i];
		}
	}
	return bytes;
}

} // namespace

TEST(JsonWriterTest, objects_and_arrays_nest)
{
	JsonWriter json;
	json.begin_object();
	json.number("a", 1);
	json.begin_object("empty");
	json.end_object();
	json.begin_array("list");
	json.begin_object();
	json.boolean("yes", true);
	json.boolean("no", false);
	json.end_object();
	json.null();
	json.begin_array();
	json.end_array();
	json.end_array();
	json.key(std::string_view("of a table"));
	json.number(-2);
	json.end_object();
	EXPECT_EQ(json.take_line(), R"({"a":1,"empty":{},"list":[{"yes":true,"no":false},null,[]],)"
				    R"("of a table":-2})"
				    "\n");
}

TEST(JsonWriterTest, a_writer_begins_again_after_a_line)
{
	JsonWriter json;
	json.begin_object();
	json.end_object();
	EXPECT_EQ(json.take_line(), "{}\n");
	json.begin_array();
	json.end_array();
	EXPECT_EQ(json.take_line(), "[]\n");
}

TEST(JsonWriterTest, counts_above_what_a_double_holds_are_null)
{
	JsonWriter json;
	json.begin_array();
	for (const std::uint64_t count :
	     {std::uint64_t{0}, kJsonLargest, kJsonLargest + 1, UINT64_MAX})
		json.count(count);
	for (const std::int64_t count :
	     {std::int64_t{-1}, -9007199254740991, -9007199254740992, INT64_MIN, INT64_MAX})
		json.signed_count(count);
	json.count(std::optional<std::uint64_t>());
	json.end_array();
	EXPECT_EQ(json.take_line(),
		  "[0,9007199254740991,null,null,-1,-9007199254740991,null,null,null,null]\n");
}

TEST(JsonWriterTest, decimals_are_strings_whatever_their_size)
{
	JsonWriter json;
	json.begin_array();
	json.decimal(0);
	json.decimal(UINT64_MAX);
	json.end_array();
	EXPECT_EQ(json.take_line(), "[\"0\",\"18446744073709551615\"]\n");
}

TEST(JsonWriterTest, rates_have_three_decimals_or_are_null)
{
	JsonWriter json;
	json.begin_array();
	for (const double rate : {0.0, 1.5, 1234567.00049, HUGE_VAL, std::nan("")})
		json.rate(rate);
	json.end_array();
	EXPECT_EQ(json.take_line(), "[0.000,1.500,1234567.000,null,null]\n");
}

TEST(JsonWriterTest, names_of_printable_characters_are_unchanged)
{
	EXPECT_EQ(read_back("binder:12_3 \"x\" \xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80"),
		  "binder:12_3 \"x\" \xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80");
	EXPECT_EQ(written("a\n\x7f\xc2\x9b"), "\"a\\u000a\\u007f\\u009b\"\n");
	EXPECT_EQ(written(""), "\"\"\n");
}

TEST(JsonWriterTest, bytes_that_are_not_utf8_are_escaped)
{
	EXPECT_EQ(read_back("\xff"), R"(\xff)");
	EXPECT_EQ(read_back("cut\xe2\x82"), R"(cut\xe2\x82)");
	EXPECT_EQ(read_back("\xed\xa0\x80"), R"(\xed\xa0\x80)") << "half of a surrogate pair";
	EXPECT_EQ(read_back("C:\\"), R"(C:\\)") << "a backslash becomes two";
}

TEST(JsonWriterTest, names_of_all_bytes_are_valid_and_can_be_restored)
{
	std::uint32_t random = 1;
	for (int round = 0; round < 2000; round++) {
		std::string bytes;
		for (std::uint32_t i = 0; i < static_cast<std::uint32_t>(round % 17); i++) {
			random = random * 1664525 + 1013904223;
			bytes += static_cast<char>(random >> 24);
		}
		ASSERT_EQ(original(read_back(bytes)), bytes);
	}
	for (int byte = 0; byte < 256; byte++) {
		const std::string bytes(1, static_cast<char>(byte));
		ASSERT_EQ(original(read_back(bytes)), bytes);
	}
}

TEST(JsonWriterTest, texts_keep_their_backslashes)
{
	JsonWriter json;
	json.text("C:\\ \"\t");
	EXPECT_EQ(nlohmann::json::parse(json.take_line()), "C:\\ \"\t");
}

TEST(JsonWriterTest, hex_has_two_digits_for_each_byte)
{
	JsonWriter json;
	json.hex(std::as_bytes(std::span("\x00\xab\x0f", 3)));
	EXPECT_EQ(json.take_line(), "\"00ab0f\"\n");
}

TEST(JsonWriterTest, a_line_of_a_million_elements_is_whole)
{
	JsonWriter json;
	json.begin_array();
	for (int i = 0; i < 1'000'000; i++)
		json.number(1);
	json.end_array();
	EXPECT_EQ(json.take_line().size(), 2'000'002u);
}

} // namespace zemctl

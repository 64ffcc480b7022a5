// SPDX-License-Identifier: GPL-2.0
/* Records in all of zemctl's formats: the output is safe for a terminal, and JSON is valid. */
#include "forms.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <nlohmann/json.hpp>

#include "decode/format.h"
#include "decode/json_stream.h"
#include "records/walk.h"
#include "targets.h"
#include "text/text.h"

namespace zemctl::fuzz {

namespace {

/* Return: whether @text has bytes that a terminal interprets. */
bool has_control(std::string_view text)
{
	for (const char c : text) {
		const auto byte = static_cast<unsigned char>(c);
		if ((byte < ' ' && c != '\n') || byte == 0x7f)
			return true;
	}
	return false;
}

} // namespace

void require(bool holds, const char *promise)
{
	if (holds)
		return;
	std::fprintf(stderr, "fuzz: not so: %s\n", promise);
	std::abort();
}

void show_in_every_form(const Record &record)
{
	const std::string line = format_line(record, Colour::kOff);
	require(line.find('\n') == line.size() - 1, "a record is one line");
	require(!has_control(line), "a line has no control characters");
	const std::string full = format_full(record);
	require(full.empty() || full.ends_with('\n'), "lines are whole");
	require(!has_control(full), "a full record has no control characters");
	require(!has_control(hex_dump(record.payload(), "    ")),
		"a dump has no control characters");
	const std::string json = format_json(record);
	require(json.find('\n') == json.size() - 1, "a JSON object is one line");
	const auto object = nlohmann::json::parse(json);
	require(object["payload_bytes"] == record.header.len, "JSON has the length");
	require(object["channel_id"] == record.header.channel, "JSON has the channel");
	static_cast<void>(format_line(record, Colour::kOn));
}

/* The rest of the input is the record's payload, whatever length the header has. */
void run_record(Input input)
{
	if (input.size() < ZEM_HEADER_SIZE)
		return;
	const std::size_t size =
		std::min<std::size_t>(input.size() - ZEM_HEADER_SIZE, ZEM_PAYLOAD_MAX);
	std::vector<std::byte> bytes(ZEM_HEADER_SIZE + size);
	std::memcpy(bytes.data(), input.data(), bytes.size());
	zem_record_header header = read_header(bytes);
	header.len = static_cast<std::uint32_t>(size);
	header.channel = static_cast<std::uint8_t>(header.channel % ZEM_CHANNEL_COUNT);
	std::memcpy(bytes.data(), &header, sizeof(header));
	Walk walk(bytes);
	if (const auto record = walk.next())
		show_in_every_form(*record);
}

} // namespace zemctl::fuzz

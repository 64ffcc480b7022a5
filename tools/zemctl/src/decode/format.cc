// SPDX-License-Identifier: GPL-2.0
/*
 * Formats a record as text or as a JSON object.
 */
#include "decode/format.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "decode/decoder.h"
#include "records/channels.h"
#include "text/json_line.h"
#include "text/text.h"
#include "text/timestamp.h"

namespace zemctl {

namespace {

constexpr std::size_t kTextPreview = 60;
constexpr std::size_t kHexPreview = 24;
constexpr std::string_view kFullIndent = "    ";

struct Decoding {
	const Decoder *decoder = nullptr; /* null: the payload is shown as it is */
	std::string fault;
};

/* A size that differs from that of the family is legal: any program may write to a channel. */
Decoding decoding_of(const Record &record)
{
	const Decoder *decoder = find_decoder(record.header.channel);
	if (decoder == nullptr || decoder->size == record.payload().size())
		return {decoder, {}};
	return {nullptr, fmt::format("not the usual {} bytes", decoder->size)};
}

std::string preview(const Record &record)
{
	const Bytes payload = record.payload();
	const Decoding decoding = decoding_of(record);
	if (decoding.decoder != nullptr)
		return decoding.decoder->line(payload);
	return (decoding.fault.empty() ? "" : decoding.fault + ": ") +
	       (is_text(payload) ? quoted(payload, kTextPreview) :
				   hex_preview(payload, kHexPreview));
}

/* Channels have five colours; red is for errors. */
std::string coloured(std::string_view padded_name, std::uint8_t channel)
{
	return fmt::format("\x1b[{}m{}\x1b[0m", 32 + channel % 5, padded_name);
}

} // namespace

std::string format_heading()
{
	return fmt::format("{:<26}  {:<11}  {:>3}  {:>6}  {:>4}  {}\n", "TIME", "CHANNEL", "SUB",
			   "TRAIN", "LEN", "PAYLOAD");
}

std::string format_line(const Record &record, Colour colour)
{
	const zem_record_header &header = record.header;
	std::string name = fmt::format("{:<11}", channel_name(header.channel));
	if (colour == Colour::kOn)
		name = coloured(name, header.channel);
	return fmt::format("{}  {}  {:>3}  {:>6}  {:>4}  {}\n", format_local_time(header.timestamp),
			   name, header.sub_type, header.train_number, header.len, preview(record));
}

std::string format_full(const Record &record)
{
	const Decoder *decoder = decoding_of(record).decoder;
	if (decoder == nullptr || decoder->full == nullptr)
		return {};
	return indented(decoder->full(record.payload()), kFullIndent);
}

std::string format_json(const Record &record)
{
	const zem_record_header &header = record.header;
	const Bytes payload = record.payload();
	nlohmann::ordered_json object = {
		{"time_ns", header.timestamp},
		{"time", format_utc_time(header.timestamp)},
		{"channel", channel_name(header.channel)},
		{"channel_id", header.channel},
		{"sub_type", header.sub_type},
		{"train_number", header.train_number},
		{"len", header.len},
	};
	const Decoding decoding = decoding_of(record);
	if (decoding.decoder != nullptr)
		object["decoded"] = decoding.decoder->json(payload);
	else if (!decoding.fault.empty())
		object["decode_error"] = decoding.fault;
	if (is_text(payload))
		object["text"] = std::string_view(reinterpret_cast<const char *>(payload.data()),
						  payload.size());
	else
		object["hex"] = hex_string(payload);
	return json_line(object);
}

} // namespace zemctl

// SPDX-License-Identifier: GPL-2.0
/*
 * Formats records as text.
 */
#include "decode/format.h"

#include <fmt/format.h>

#include "decode/decoder.h"
#include "records/channels.h"

namespace zemctl {

namespace {

constexpr std::size_t kTextPreview = 60;
constexpr std::size_t kHexPreview = 24;
constexpr std::string_view kFullIndent = "    ";

void append_preview(TextBuffer &out, const Record &record)
{
	const Bytes payload = record.payload();
	const Decoder *decoder = find_decoder(record.header.channel);
	if (decoder != nullptr && decoder->size == payload.size())
		return decoder->line(payload, out);
	if (decoder != nullptr)
		out.put(unusual_size(*decoder)).put(": ");
	if (is_text(payload))
		append_quoted(out, payload, kTextPreview);
	else
		append_hex(out, payload, kHexPreview);
}

/* Channels have five colours; red is for errors. */
void append_channel(TextBuffer &out, std::uint8_t channel, Colour colour)
{
	const std::string_view name = channel_name(channel);
	if (colour == Colour::kOn)
		out.put("\x1b[").number(32 + channel % 5).put('m');
	out.padded(name, 11);
	if (colour == Colour::kOn)
		out.put("\x1b[0m");
}

} // namespace

std::string format_heading()
{
	return fmt::format("{:<26}  {:<11}  {:>3}  {:>6}  {:>4}  {}\n", "TIME", "CHANNEL", "SUB",
			   "TRAIN", "LEN", "PAYLOAD");
}

std::string_view TextFormat::line(const Record &record)
{
	const zem_record_header &header = record.header;
	buffer_.clear();
	buffer_.put(calendar_.format(header.timestamp)).put('.');
	buffer_.number(header.timestamp % kSecondNs / 1000, 6, '0').put("  ");
	append_channel(buffer_, header.channel, colour_);
	buffer_.put("  ").number(header.sub_type, 3).put("  ").number(header.train_number, 6);
	buffer_.put("  ").number(header.len, 4).put("  ");
	append_preview(buffer_, record);
	buffer_.put('\n');
	return buffer_.view();
}

std::string format_line(const Record &record, Colour colour)
{
	return std::string(TextFormat(colour).line(record));
}

std::string format_full(const Record &record)
{
	const Decoder *decoder = find_decoder(record.header.channel);
	if (decoder == nullptr || decoder->size != record.payload().size() ||
	    decoder->full == nullptr)
		return {};
	return indented(decoder->full(record.payload()), kFullIndent);
}

} // namespace zemctl

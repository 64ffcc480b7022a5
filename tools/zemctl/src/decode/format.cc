// SPDX-License-Identifier: GPL-2.0
/*
 * Formats records as text.
 */
#include "decode/format.h"

#include <algorithm>
#include <optional>

#include <fmt/format.h>

#include "decode/decoder.h"
#include "decode/subjects.h"
#include "records/channels.h"
#include "text/bars.h"
#include "text/fit.h"

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

/* Returns what the column of @field shows of @subject, or "". */
std::string text_of(Field field, const Subject &subject)
{
	const auto number = [](const std::optional<std::uint32_t> &value) {
		return value ? fmt::format("{}", *value) : std::string();
	};
	switch (field) {
	case Field::kUid:
		return number(subject.uid);
	case Field::kPid:
		return number(subject.pid);
	case Field::kTgid:
		return number(subject.tgid);
	case Field::kComm:
		return escaped(subject.comm);
	case Field::kPackage:
		return escaped(subject.package);
	case Field::kCgroup:
		return escaped(subject.cgroup);
	default:
		return {};
	}
}

/* Returns what the column of @field shows of all subjects of @record: "a,b", or "-" for none. */
std::string text_of(Field field, const Record &record)
{
	std::string all;
	const Subjects subjects(record);
	for (const Subject &subject : subjects.all()) {
		const std::string text = text_of(field, subject);
		if (!text.empty())
			all += (all.empty() ? "" : ",") + text;
	}
	return all.empty() ? "-" : all;
}

} // namespace

long TextFormat::offset(std::uint64_t time)
{
	return shows_time_ ? calendar_.offset(time) : 0;
}

std::string TextFormat::heading(long offset) const
{
	std::string text;
	for (const Field field : fields_) {
		const FieldRow &row = row_of(field);
		std::string name(row.heading);
		if (field == Field::kTime)
			name += fmt::format(" ({})", offset_text(offset));
		text += row.right ? fmt::format("{:>{}}  ", name, row.width) :
				    fmt::format("{:<{}}  ", name, row.width);
	}
	end_line(text);
	return text;
}

std::size_t TextFormat::put_time(std::uint64_t time)
{
	buffer_.put(calendar_.format(time)).put('.');
	buffer_.number(time % kSecondNs / 1000, 6, '0');
	return row_of(Field::kTime).width;
}

/* Channels have five colours; red is for errors. */
std::size_t TextFormat::put_channel(std::uint8_t channel)
{
	const std::string_view name = channel_name(channel);
	if (has_colour())
		buffer_.put("\x1b[").number(32 + channel % 5).put('m');
	buffer_.put(name);
	if (has_colour())
		buffer_.put("\x1b[0m");
	return name.size();
}

std::size_t TextFormat::put_field(Field field, const Record &record)
{
	const zem_record_header &header = record.header;
	const auto number = [&](auto value) {
		buffer_.number(value, row_of(field).width);
		return row_of(field).width;
	};
	switch (field) {
	case Field::kTime:
		return put_time(header.timestamp);
	case Field::kChannel:
		return put_channel(header.channel);
	case Field::kSub:
		return number(header.sub_type);
	case Field::kTrain:
		return number(header.train_number);
	case Field::kLen:
		return number(header.len);
	case Field::kPayload:
		append_preview(buffer_, record);
		return row_of(field).width;
	default:
		break;
	}
	const std::string text = text_of(field, record);
	buffer_.put(text);
	return columns_of(text);
}

std::string_view TextFormat::line(const Record &record)
{
	buffer_.clear();
	std::size_t blanks = 0; /* before the next column */
	for (const Field field : fields_) {
		for (; blanks > 0; blanks--)
			buffer_.put(' ');
		const std::size_t used = put_field(field, record);
		blanks = std::max(used, row_of(field).width) - used + 2;
	}
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

/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The stream of JSON objects of zemctl watch and zemctl dump, which docs/schema/records.json
 * describes: a header, records and gaps, what else a capture has, and an end.
 */
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "records/marks.h"
#include "records/record.h"
#include "text/json_writer.h"
#include "text/timestamp.h"

namespace zemctl {

enum class StreamSource { kDevice, kCapture };

/* Records that are missing at this place of a stream. Unknown numbers have no value. */
struct Gap {
	std::optional<std::uint64_t> lost_bytes; /* in the shared buffer */
	std::optional<std::uint64_t> lost_records; /* elsewhere: in the kernel or the capture */
};

/* The reason why a stream ends. */
enum class StreamEnd {
	kFinished, /* the capture has its end mark */
	kUnfinished, /* the capture has no end mark: its end may be missing */
	kCutOff, /* the capture ends within a record or block */
	kLimit, /* the requested number of records was printed */
	kStopped, /* the requested time has passed, or a signal arrived */
};

/* Returns the name of @end in JSON. */
std::string_view name_of(StreamEnd end);

enum class PayloadHex { kOthers, kAll };

class JsonStream {
public:
	/* With kAll every record has its payload as hex; otherwise only those not decoded. */
	explicit JsonStream(PayloadHex hex) : hex_(hex) {}

	/* Each returns one line, valid until the next call. */
	std::string_view header(StreamSource source);
	std::string_view record(const Record &record);
	std::string_view gap(const Gap &gap);
	/* Returns "" for the mark of a gap or of the end. */
	std::string_view mark(const Mark &mark);
	std::string_view end(StreamEnd reason, std::uint64_t records);

private:
	void payload(const Record &record);

	PayloadHex hex_;
	Calendar calendar_{Calendar::Zone::kUtc, 'T'};
	JsonWriter json_;
};

/* Returns the record as one line. */
std::string format_json(const Record &record);

} // namespace zemctl

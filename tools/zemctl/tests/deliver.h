/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Delivers records to a RecordSink without a session.
 */
#pragma once

#include <algorithm>

#include "commands/record_sink.h"
#include "made_records.h"

namespace zemctl {

/* Delivers @bytes, which fit into the shared buffer, as the content of one look. */
inline bool deliver(RecordSink &sink, Reader &reader, const ByteVector &bytes)
{
	Snapshot &look = reader.next_look();
	look.bytes.fill(std::byte{0});
	std::ranges::copy(bytes, look.bytes.begin());
	reader.take_all();
	reader.handed_back(static_cast<std::uint32_t>(bytes.size()));
	const bool wants_more = sink.deliver(reader);
	reader.clear();
	return wants_more;
}

inline Moment no_moment()
{
	return {};
}

} // namespace zemctl

/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Selects records by what they are about.
 */
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "decode/subjects.h"
#include "records/channels.h"

namespace zemctl {

/*
 * A record passes if it meets each criterion that is given. One of several values of a criterion is
 * enough. Those of processes, users and groups must hold for one subject of the record.
 */
struct Criteria {
	ChannelSet channels = 0;
	std::vector<std::uint32_t> uids = {};
	std::vector<std::uint32_t> pids = {}; /* of a thread or of its process */
	/* Patterns as those of file names in a shell. */
	std::vector<std::string> comms = {};
	std::vector<std::string> packages = {};
	std::vector<std::string> cgroups = {};
	std::optional<std::uint64_t> since = {}; /* ns since the epoch, inclusive */
	std::optional<std::uint64_t> until = {}; /* ns since the epoch, exclusive */
};

class Filter {
public:
	explicit Filter(Criteria criteria);

	bool accepts(const Record &record) const;

private:
	bool accepts(const Subject &subject) const;

	Criteria criteria_;
	bool asks_for_subject_;
};

} // namespace zemctl

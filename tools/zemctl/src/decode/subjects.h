/* SPDX-License-Identifier: GPL-2.0 */
/*
 * What a record is about: the processes, users and control groups that its payload names.
 */
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "records/record.h"

namespace zemctl {

struct Subject {
	std::optional<std::uint32_t> uid = {};
	std::optional<std::uint32_t> pid = {};
	std::optional<std::uint32_t> tgid = {};
	/* Null data: the payload has no such name. The name of a task may be empty. */
	std::string_view comm = {};
	std::string_view package = {};
	std::string_view cgroup = {};
};

/* The subjects of one record, which must outlive them. */
class Subjects {
public:
	explicit Subjects(const Record &record);

	std::span<const Subject> all() const { return std::span(subjects_).first(count_); }

private:
	void add(const Subject &subject) { subjects_[count_++] = subject; }
	void add_task(Bytes payload, std::size_t pid, std::size_t tgid, std::string_view comm,
		      std::string_view package);
	void add_uids(Bytes payload);
	void add_groups(Bytes payload);

	/* The two lists of UIDs of a kio record. No other record has as many subjects. */
	std::array<Subject, 20> subjects_;
	std::size_t count_ = 0;
};

} // namespace zemctl

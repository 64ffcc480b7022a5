/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The columns that a record can be shown in.
 */
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zemctl {

enum class Field : std::uint8_t {
	kTime,
	kChannel,
	kSub,
	kTrain,
	kLen,
	kUid,
	kPid,
	kTgid,
	kComm,
	kPackage,
	kCgroup,
	kPayload,
};

struct FieldRow {
	std::string_view name;
	std::string_view heading;
	std::size_t width; /* at least; 0 for a column that has no usual width */
	bool right = false; /* aligned at its right edge */
};

/* In the order of Field. */
inline constexpr std::array kFieldRows = std::to_array<FieldRow>({
	{"time", "TIME", 26},
	{"channel", "CHANNEL", 11},
	{"sub", "SUB", 3, true},
	{"train", "TRAIN", 6, true},
	{"len", "LEN", 4, true},
	{"uid", "UID", 10},
	{"pid", "PID", 7},
	{"tgid", "TGID", 7},
	{"comm", "COMM", 15},
	{"package", "PACKAGE", 30},
	{"cgroup", "CGROUP", 17},
	{"payload", "PAYLOAD", 0},
});

constexpr const FieldRow &row_of(Field field)
{
	return kFieldRows[static_cast<std::size_t>(field)];
}
static_assert(row_of(Field::kPayload).name == "payload");

inline constexpr std::array kUsualFields = {
	Field::kTime, Field::kChannel, Field::kSub, Field::kTrain, Field::kLen, Field::kPayload,
};

/* Returns the fields with these @names, all of which exist. The usual fields if there are none. */
std::vector<Field> fields_named(std::span<const std::string> names);

} // namespace zemctl

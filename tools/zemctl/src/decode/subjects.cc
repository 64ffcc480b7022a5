// SPDX-License-Identifier: GPL-2.0
/*
 * What a record is about. Payloads are read in place, at any alignment.
 */
#include "decode/subjects.h"

#include <cstring>

namespace zemctl {

namespace {

std::uint32_t number_at(Bytes payload, std::size_t offset)
{
	std::uint32_t number = 0;
	std::memcpy(&number, payload.data() + offset, sizeof(number));
	return number;
}

std::string_view text_at(Bytes payload, std::size_t offset, std::size_t size)
{
	const char *text = reinterpret_cast<const char *>(payload.data()) + offset;
	return {text, ::strnlen(text, size)};
}

bool is_all_zero(Bytes bytes)
{
	for (const std::byte byte : bytes) {
		if (byte != std::byte{0})
			return false;
	}
	return true;
}

} // namespace

Subjects::Subjects(const Record &record)
{
	const Bytes payload = record.payload();
	const auto is = [&](zem_channel channel, std::size_t size) {
		return record.header.channel == channel && payload.size() == size;
	};
	if (is(ZEM_CHANNEL_LOAD, sizeof(zem_load)))
		add_task(payload, offsetof(zem_load, pid), offsetof(zem_load, ppid),
			 text_at(payload, offsetof(zem_load, comm), sizeof(zem_load::comm)),
			 text_at(payload, offsetof(zem_load, pkg), sizeof(zem_load::pkg)));
	else if (is(ZEM_CHANNEL_SVP, sizeof(zem_svp)))
		add_task(payload, offsetof(zem_svp, pid), offsetof(zem_svp, tgid),
			 text_at(payload, offsetof(zem_svp, thread_name),
				 sizeof(zem_svp::thread_name)),
			 text_at(payload, offsetof(zem_svp, package_name),
				 sizeof(zem_svp::package_name)));
	else if (is(ZEM_CHANNEL_KIO, sizeof(zem_kio)))
		add_uids(payload);
	else if (is(ZEM_CHANNEL_CGROUP, sizeof(zem_cgroup)))
		add_groups(payload);
}

void Subjects::add_task(Bytes payload, std::size_t pid, std::size_t tgid, std::string_view comm,
			std::string_view package)
{
	add({.pid = number_at(payload, pid),
	     .tgid = number_at(payload, tgid),
	     .comm = comm,
	     .package = package});
}

/* Vacant ranks are all zero. */
void Subjects::add_uids(Bytes payload)
{
	static_assert(std::tuple_size_v<decltype(subjects_)> >= std::size_t{2} * ZEM_IO_TOP);
	const auto add_list = [&](std::size_t offset, std::size_t size) {
		for (std::size_t rank = 0; rank < ZEM_IO_TOP; rank++, offset += size) {
			if (!is_all_zero(payload.subspan(offset, size)))
				add({.uid = number_at(payload, offset)});
		}
	};
	static_assert(offsetof(zem_io_top, uid) == 0 && offsetof(zem_iowait_top, uid) == 0);
	add_list(offsetof(zem_kio, io_top), sizeof(zem_io_top));
	add_list(offsetof(zem_kio, iowait_top), sizeof(zem_iowait_top));
}

void Subjects::add_groups(Bytes payload)
{
	static_assert(std::tuple_size_v<decltype(subjects_)> >= ZEM_CGROUPS);
	for (std::size_t i = 0; i < ZEM_CGROUPS; i++)
		add({.cgroup = text_at(payload,
				       i * sizeof(zem_cgroup_entry) +
					       offsetof(zem_cgroup_entry, name),
				       sizeof(zem_cgroup_entry::name))});
}

} // namespace zemctl

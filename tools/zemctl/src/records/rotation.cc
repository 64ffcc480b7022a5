// SPDX-License-Identifier: GPL-2.0
/*
 * Names, renames and removes the files of a rotated capture.
 */
#include "records/rotation.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <fmt/format.h>

#include "base/errors.h"
#include "base/open_file.h"
#include "text/words.h"

namespace zemctl {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kPart = ".part";
constexpr std::size_t kDigits = 6;

/* Returns the number that @text is, in the form in which file names have it. */
std::optional<std::uint64_t> file_number(std::string_view text)
{
	return text.size() < kDigits ? std::nullopt : parse_number<std::uint64_t>(text);
}

/* A writer holds a lock on its file until it ends, in whatever way. */
void require_no_writer(const std::string &path)
{
	const FileDescriptor file = open_file(path);
	if (::flock(file.get(), LOCK_SH | LOCK_NB) == 0)
		return;
	if (errno == EWOULDBLOCK)
		throw Failure(fmt::format("{}: another process is writing it", path));
	throw system_failure(path, errno);
}

} // namespace

Rotation::Rotation(std::string path, std::optional<std::uint64_t> keep)
	: base_(std::move(path)), folder_(fs::path(base_).parent_path()), keep_(keep)
{
	if (folder_.empty())
		folder_ = ".";
	find_earlier_files();
}

std::string Rotation::final_path(std::uint64_t number) const
{
	return fmt::format("{}.{:06}", base_, number);
}

void Rotation::find_earlier_files()
{
	const std::string prefix = fs::path(base_).filename().string() + ".";
	std::vector<std::uint64_t> parts;
	std::error_code error;
	for (fs::directory_iterator entry(folder_, error), end; !error && entry != end;
	     entry.increment(error)) {
		const std::string name = entry->path().filename();
		if (!name.starts_with(prefix))
			continue;
		std::string_view rest = std::string_view(name).substr(prefix.size());
		const bool is_part = rest.ends_with(kPart);
		if (is_part)
			rest.remove_suffix(kPart.size());
		if (const auto number = file_number(rest))
			(is_part ? parts : numbers_).push_back(*number);
	}
	if (error)
		throw system_failure(folder_, error.value());
	for (const std::uint64_t number : parts) {
		require_no_writer(final_path(number) + std::string(kPart));
		rename_part(number);
	}
	std::ranges::sort(numbers_);
	remove_oldest();
}

FileDescriptor Rotation::create()
{
	current_ = numbers_.empty() ? 1 : numbers_.back() + 1;
	part_ = final_path(current_).append(kPart);
	FileDescriptor file = open_file(part_, O_WRONLY | O_CREAT | O_EXCL, 0644);
	if (::flock(file.get(), LOCK_EX | LOCK_NB) != 0)
		throw system_failure(part_, errno);
	return file;
}

void Rotation::finish()
{
	rename_part(current_);
	sync_folder();
	remove_oldest();
}

void Rotation::rename_part(std::uint64_t number)
{
	const std::string to = final_path(number);
	const std::string from = to + std::string(kPart);
	if (::rename(from.c_str(), to.c_str()) != 0)
		throw system_failure(from, errno);
	numbers_.push_back(number);
}

void Rotation::sync_folder() const
{
	const FileDescriptor folder(::open(folder_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
	/* Some file systems cannot sync a folder. */
	if (!folder.is_open() || (::fsync(folder.get()) != 0 && errno != EINVAL))
		throw system_failure(folder_, errno);
}

/* A file that another program has taken away counts as removed. */
void Rotation::remove_oldest()
{
	while (keep_ && numbers_.size() > *keep_) {
		const std::string oldest = final_path(numbers_.front());
		if (::unlink(oldest.c_str()) != 0 && errno != ENOENT)
			throw system_failure(oldest, errno);
		numbers_.erase(numbers_.begin());
	}
}

} // namespace zemctl

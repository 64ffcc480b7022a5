// SPDX-License-Identifier: GPL-2.0
/* Reads of a seq_file, with the same sequence of calls as in the kernel. */
#include "seq_file.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>

#include "active_call.h"
#include "kernel.h"

namespace sim {

/* Keeps the entry from being removed during a call, and checks the state after the call. */
class OpenFile::CheckedCall : public ActiveCall<proc_dir_entry> {
public:
	explicit CheckedCall(OpenFile &file)
		: ActiveCall(*file.entry_), file_(file), task_(Scheduler::current()),
		  nesting_(task_.rcu_nesting), preempt_count_(task_.preempt_count)
	{
	}

	~CheckedCall()
	{
		if (task_.rcu_nesting != nesting_ || task_.preempt_count != preempt_count_)
			file_.kernel_.problems.add("a read of " + file_.entry_->name +
						   " left something locked");
	}

private:
	OpenFile &file_;
	task_struct &task_;
	const int nesting_;
	const int preempt_count_;
};

OpenFile::OpenFile(Kernel &kernel, std::shared_ptr<proc_dir_entry> entry)
	: kernel_(kernel), entry_(std::move(entry))
{
	if (!entry_ || entry_->is_directory)
		return;
	state_.resize((entry_->state_size + sizeof(u64) - 1) / sizeof(u64));
	file_.data = entry_->state_size ? state_.data() : entry_->data;
}

void *OpenFile::start()
{
	return entry_->operations.start(&file_, &file_.index);
}

void OpenFile::stop(void *element)
{
	entry_->operations.stop(&file_, element);
}

void *OpenFile::next(void *element)
{
	const s64 before = file_.index;
	void *const following = entry_->operations.next(&file_, element, &file_.index);
	if (file_.index == before) {
		kernel_.problems.add("the next of " + entry_->name + " did not go on");
		file_.index++;
	}
	return following;
}

int OpenFile::show(void *element)
{
	return entry_->operations.show(&file_, element);
}

bool OpenFile::make_buffer()
{
	if (kernel_.faults.strikes("seq_buf_alloc") ||
	    file_.size > kernel_.options.most_seq_buffer) {
		file_.buffer.reset();
		return false;
	}
	file_.buffer = std::make_unique<char[]>(file_.size);
	return true;
}

bool OpenFile::grow_buffer()
{
	file_.count = 0;
	file_.size *= 2;
	kernel_.proc.note_repeated_show();
	return make_buffer();
}

void OpenFile::forget_position()
{
	file_.read_position = 0;
	file_.index = 0;
	file_.count = 0;
}

/* Skips from the first element to @offset, for a read that does not continue the previous one. */
int OpenFile::traverse(s64 offset)
{
	file_.index = 0;
	file_.from = 0;
	file_.count = 0;
	if (offset == 0)
		return 0;
	if (!file_.buffer) {
		file_.size = kernel_.options.first_seq_buffer;
		if (!make_buffer())
			return -ENOMEM;
	}
	int error = 0;
	s64 passed = 0;
	void *element = start();
	while (element) {
		error = show(element);
		if (error < 0)
			break;
		if (error > 0)
			file_.count = 0;
		error = 0;
		if (file_.has_overflowed()) {
			stop(element);
			return grow_buffer() ? -EAGAIN : -ENOMEM;
		}
		element = next(element);
		if (passed + static_cast<s64>(file_.count) > offset) {
			file_.from = static_cast<size_t>(offset - passed);
			file_.count -= file_.from;
			break;
		}
		passed += static_cast<s64>(file_.count);
		file_.count = 0;
		if (passed == offset)
			break;
	}
	stop(element);
	return error;
}

int OpenFile::go_to(s64 offset)
{
	int error;
	while ((error = traverse(offset)) == -EAGAIN)
		;
	if (error)
		forget_position();
	else
		file_.read_position = offset;
	return error;
}

void OpenFile::take(std::string &text, size_t count)
{
	const size_t taken = std::min(count - text.size(), file_.count);
	text.append(file_.buffer.get() + file_.from, taken);
	file_.from += taken;
	file_.count -= taken;
}

/* Adds elements that fit, up to @wanted bytes. */
void OpenFile::fill_on(void *element, size_t wanted)
{
	for (;;) {
		const size_t before = file_.count;
		element = next(element);
		if (!element || file_.count >= wanted)
			break;
		const int error = show(element);
		if (error > 0)
			file_.count = before;
		if (error < 0 || file_.has_overflowed()) {
			file_.count = before;
			break;
		}
	}
	stop(element);
}

/* Return: 0, with an empty buffer at the end of the sequence; or a negative error code. */
int OpenFile::fill(size_t wanted)
{
	int error = 0;
	file_.from = 0;
	void *element = start();
	while (element) {
		error = show(element);
		if (error < 0)
			break;
		if (error > 0)
			file_.count = 0;
		error = 0;
		if (file_.count == 0) {
			element = next(element);
			continue;
		}
		if (!file_.has_overflowed()) {
			fill_on(element, wanted);
			return 0;
		}
		stop(element);
		if (!grow_buffer())
			return -ENOMEM;
		element = start();
	}
	stop(element);
	file_.count = 0;
	return error;
}

ssize_t OpenFile::read_at(s64 &position, std::string &text, size_t count)
{
	if (!entry_)
		return -ENOENT;
	if (entry_->is_directory)
		return -EISDIR;
	CheckedCall call(*this);
	/* A write-only file has no show. */
	if (!call || !entry_->operations.show)
		return -EIO;
	if (position == 0) {
		file_.index = 0;
		file_.count = 0;
	}
	if (position != file_.read_position)
		if (const int error = go_to(position))
			return error;
	if (!file_.buffer) {
		file_.size = kernel_.options.first_seq_buffer;
		if (!make_buffer())
			return -ENOMEM;
	}
	if (file_.count)
		take(text, count);
	int error = 0;
	if (!file_.count) {
		error = fill(count - text.size());
		take(text, count);
	}
	if (text.empty())
		return error;
	position += static_cast<s64>(text.size());
	file_.read_position += static_cast<s64>(text.size());
	return static_cast<ssize_t>(text.size());
}

ReadResult OpenFile::read(size_t count)
{
	ReadResult read;
	read.result = read_at(position_, read.data, count);
	return read;
}

ReadResult OpenFile::pread(size_t count, s64 offset)
{
	ReadResult read;
	read.result = read_at(offset, read.data, count);
	return read;
}

s64 OpenFile::lseek(s64 offset)
{
	if (!entry_)
		return -ENOENT;
	CheckedCall call(*this);
	if (!call)
		return -EIO;
	if (offset < 0)
		return -EINVAL;
	if (offset != file_.read_position) {
		if (const int error = go_to(offset)) {
			position_ = 0;
			return error;
		}
	}
	position_ = offset;
	return offset;
}

ReadResult OpenFile::read_all(size_t piece)
{
	ReadResult whole{0, {}};
	for (;;) {
		const ReadResult read = this->read(piece);
		if (read.result < 0)
			return {read.result, {}};
		if (read.result == 0)
			return whole;
		whole.result += read.result;
		whole.data += read.data;
	}
}

} /* namespace sim */

void seq_printf(struct seq_file *file, const char *fmt, ...)
{
	if (file->has_overflowed())
		return;
	va_list arguments;
	va_start(arguments, fmt);
	const size_t room = file->size - file->count;
	const int length = vsnprintf(file->buffer.get() + file->count, room, fmt, arguments);
	va_end(arguments);
	file->count = static_cast<size_t>(length) < room ? file->count + length : file->size;
}

bool helper_seq_has_room(struct seq_file *file, size_t bytes)
{
	if (file->size - file->count > bytes)
		return true;
	file->count = file->size;
	return false;
}

u64 helper_seq_index(const struct seq_file *file)
{
	return static_cast<u64>(file->index);
}

void *helper_seq_private(const struct seq_file *file)
{
	return file->data;
}

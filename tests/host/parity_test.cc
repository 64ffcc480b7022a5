// SPDX-License-Identifier: GPL-2.0
/* The rules of a real kernel, on the simulated one. */
#include <memory>

#include "host/fixture.h"
#include "parity/parity.h"
#include "sim/seq_file.h"

namespace {

std::unique_ptr<sim::OpenFile> open_file;

} /* namespace */

namespace parity {

void failed(const char *place, const char *expression, s64 value, s64 wanted)
{
	ADD_FAILURE() << place << ": " << expression << " is " << value << ", not " << wanted;
}

void failed(const char *place, const char *expression, const char *text, const char *wanted)
{
	ADD_FAILURE() << place << ": " << expression << " is \"" << text << "\", not \"" << wanted
		      << '"';
}

bool open_proc(const char *name)
{
	open_file = std::make_unique<sim::OpenFile>(sim::Kernel::get().proc.open(name));
	return open_file->lseek(0) == 0;
}

s64 read_proc(char *bytes, size_t count)
{
	const sim::ReadResult read = open_file->read(count);
	memcpy(bytes, read.data.data(), read.data.size());
	return read.result;
}

s64 seek_proc(s64 position)
{
	return open_file->lseek(position);
}

void close_proc()
{
	open_file.reset();
}

} /* namespace parity */

namespace test {

class Parity : public UnloadedTest, public ::testing::WithParamInterface<size_t> {};

TEST_P(Parity, is_kept)
{
	parity::cases[GetParam()].run();
}

INSTANTIATE_TEST_SUITE_P(Kernel, Parity, ::testing::Range(size_t{0}, parity::case_count),
			 [](const auto &info) { return parity::cases[info.param].name; });

} /* namespace test */

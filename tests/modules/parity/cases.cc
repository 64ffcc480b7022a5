// SPDX-License-Identifier: GPL-2.0
/* The cases, compiled for a real kernel, and their report in its log. */
#include "parity_test.h"

#include "kernel/api/printk.h"

#include "../../parity/cases.cc"
#include "../../parity/completion.cc"
#include "../../parity/ring_buffer.cc"
#include "../../parity/seq_file.cc"
#include "../../parity/text.cc"

namespace parity {

namespace {

const Case *running;
int failures;

} /* namespace */

void failed(const char *place, const char *expression, s64 value, s64 wanted)
{
	failures++;
	pr_err("zem_parity_test: %s: %s: %s is %lld, not %lld\n", running->name, place, expression,
	       static_cast<long long>(value), static_cast<long long>(wanted));
}

void failed(const char *place, const char *expression, const char *text, const char *wanted)
{
	failures++;
	pr_err("zem_parity_test: %s: %s: %s is \"%s\", not \"%s\"\n", running->name, place,
	       expression, text, wanted);
}

bool open_proc(const char *name)
{
	return parity_open(name) == 0;
}

s64 read_proc(char *bytes, size_t count)
{
	return parity_read(bytes, count);
}

s64 seek_proc(s64 position)
{
	return parity_seek(position);
}

void close_proc()
{
	parity_close();
}

} /* namespace parity */

int parity_run(void)
{
	using namespace parity;

	for (size_t i = 0; i < case_count; i++) {
		running = &cases[i];
		running->run();
	}
	pr_info("zem_parity_test: %d cases, %d failures\n", static_cast<int>(case_count), failures);
	return failures;
}

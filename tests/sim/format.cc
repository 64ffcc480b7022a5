// SPDX-License-Identifier: GPL-2.0
/* The kernel's printf, one conversion at a time, and functions based on it. */
#include "format.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "kernel.h"

/* Not declared by api/string.h, whose snprintf conflicts with the C library's. */
extern "C" int kernel_snprintf(char *text, size_t size, const char *fmt, ...);

namespace sim {

namespace {

struct Conversion {
	std::string spec; /* flags, width and letter for the C library */
	unsigned int longs = 0;
	char letter = '\0';
};

/* Parses the conversion at @fmt, and moves @fmt after it. */
Conversion parse(const char *&fmt)
{
	Conversion conversion;
	const char *first = fmt++;
	while (*fmt && strchr("-+ #0123456789.", *fmt))
		fmt++;
	for (; *fmt == 'l' || *fmt == 'z'; fmt++)
		conversion.longs++;
	conversion.letter = *fmt;
	if (*fmt)
		fmt++;
	conversion.spec.assign(first, fmt);
	return conversion;
}

template <typename Value>
std::string print(const Conversion &conversion, Value value)
{
	char text[512];
	const int length = snprintf(text, sizeof(text), conversion.spec.c_str(), value);
	if (length < 0 || static_cast<size_t>(length) >= sizeof(text))
		Kernel::get().problems.add("not simulated by printf: a long text");
	return text;
}

std::string print_pointer(const char *&fmt, const void *pointer)
{
	if (*fmt != 'g')
		return pointer_text(pointer);
	fmt++;
	return static_cast<const block_device *>(pointer)->name;
}

} /* namespace */

std::string pointer_text(const void *pointer)
{
	constexpr uint64_t kSecret = 0x9e3779b97f4a7c15;
	const auto address = reinterpret_cast<uint64_t>(pointer);
	/* 64-bit kernels show 32 bits of the hash. */
	const uint64_t shown = pointer ? (address * kSecret) >> 32 : 0;
	char text[17];
	snprintf(text, sizeof(text), "%016lx", static_cast<unsigned long>(shown));
	return text;
}

std::string format(const char *fmt, va_list arguments)
{
	std::string text;
	while (*fmt) {
		if (*fmt != '%') {
			text += *fmt++;
			continue;
		}
		const Conversion conversion = parse(fmt);
		switch (conversion.letter) {
		case '%':
			text += '%';
			break;
		case 'd':
		case 'u':
		case 'x':
			text += conversion.longs ? print(conversion, va_arg(arguments, long)) :
						   print(conversion, va_arg(arguments, int));
			break;
		case 'c':
			text += print(conversion, va_arg(arguments, int));
			break;
		case 's':
			text += print(conversion, va_arg(arguments, const char *));
			break;
		case 'p':
			text += print_pointer(fmt, va_arg(arguments, const void *));
			break;
		default:
			Kernel::get().problems.add("not simulated by printf: " + conversion.spec);
			return text;
		}
	}
	return text;
}

} /* namespace sim */

int kernel_snprintf(char *text, size_t size, const char *fmt, ...)
{
	va_list arguments;
	va_start(arguments, fmt);
	const std::string whole = sim::format(fmt, arguments);
	va_end(arguments);
	if (size) {
		const size_t length = std::min(whole.size(), size - 1);
		memcpy(text, whole.data(), length);
		text[length] = '\0';
	}
	return static_cast<int>(whole.size());
}

int sysfs_emit_at(char *page, int at, const char *fmt, ...)
{
	if (reinterpret_cast<uintptr_t>(page) % sim::kPageSize != 0 || at < 0 ||
	    static_cast<size_t>(at) >= sim::kPageSize) {
		sim::Kernel::get().problems.add("sysfs_emit_at to what is not in a page");
		return 0;
	}
	va_list arguments;
	va_start(arguments, fmt);
	const std::string whole = sim::format(fmt, arguments);
	va_end(arguments);
	const size_t room = sim::kPageSize - static_cast<size_t>(at) - 1;
	const size_t length = std::min(whole.size(), room);
	memcpy(page + at, whole.data(), length);
	page[at + static_cast<int>(length)] = '\0';
	return static_cast<int>(length);
}

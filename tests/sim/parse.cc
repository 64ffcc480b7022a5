// SPDX-License-Identifier: GPL-2.0
/*
 * Parses numbers by the kernel's rules, which differ from the C library's: sscanf has no '+' and
 * wraps around silently; kstrtoint and similar functions require the whole text to be a number.
 */
#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <limits>
#include <string>

#include "kernel.h"

/* Not declared by api/parse.h, whose sscanf conflicts with the C library's. */
extern "C" int kernel_sscanf(const char *text, const char *fmt, ...);
extern "C" int kstrtoint(const char *text, unsigned int base, int *result);
extern "C" int kstrtoll(const char *text, unsigned int base, long long *result);
extern "C" int kstrtouint_from_user(const char *user_text, size_t count, unsigned int base,
				    unsigned int *result);

namespace {

bool is_space(char c)
{
	return c == ' ' || (c >= '\t' && c <= '\r');
}

/* Returns the value of @c in @base, or -1. */
int digit_value(char c, unsigned int base)
{
	int value = -1;
	if (c >= '0' && c <= '9')
		value = c - '0';
	else if (const char lower = static_cast<char>(c | 0x20); lower >= 'a' && lower <= 'f')
		value = lower - 'a' + 10;
	return value < static_cast<int>(base) ? value : -1;
}

struct Digits {
	unsigned long long value; /* modulo 2^64 */
	bool overflow;
	const char *end;
};

Digits scan_digits(const char *text, unsigned int base)
{
	Digits digits{0, false, text};
	for (int digit; (digit = digit_value(*digits.end, base)) >= 0; digits.end++) {
		unsigned long long scaled;
		digits.overflow |= __builtin_mul_overflow(digits.value, base, &scaled);
		digits.overflow |= __builtin_add_overflow(
			scaled, static_cast<unsigned long long>(digit), &digits.value);
	}
	return digits;
}

/* Scans one number: @spec is the letter, @is_long whether an 'l' preceded it. */
bool scan_number(const char *&text, char spec, bool is_long, void *target)
{
	while (is_space(*text))
		text++;
	const bool negative = spec == 'd' && *text == '-';
	const char *first = text + negative;
	const Digits digits = scan_digits(first, spec == 'x' ? 16 : 10);
	if (digits.end == first)
		return false;

	const unsigned long long value = negative ? 0 - digits.value : digits.value;
	if (is_long)
		*static_cast<unsigned long long *>(target) = value;
	else
		*static_cast<unsigned int *>(target) = static_cast<unsigned int>(value);
	text = digits.end;
	return true;
}

int scan(const char *text, const char *fmt, va_list arguments)
{
	int converted = 0;
	while (*fmt) {
		if (is_space(*fmt)) {
			for (fmt++; is_space(*text); text++)
				;
			continue;
		}
		if (*fmt != '%') {
			if (*fmt++ != *text++)
				break;
			continue;
		}
		bool is_long = false;
		for (fmt++; *fmt == 'l'; fmt++)
			is_long = true;
		const char spec = *fmt++;
		if (spec != 'd' && spec != 'u' && spec != 'x') {
			std::string problem = "not simulated by sscanf: ";
			problem += spec;
			sim::Kernel::get().problems.add(problem);
			break;
		}
		if (!scan_number(text, spec, is_long, va_arg(arguments, void *)))
			break;
		converted++;
	}
	return converted;
}

/* Return: the length of a prefix that names a base, which is stored in @base if that was 0. */
size_t base_prefix(const char *text, unsigned int &base)
{
	const bool hexadecimal = text[0] == '0' && (text[1] | 0x20) == 'x' &&
				 digit_value(text[2], 16) >= 0;
	if (base == 0)
		base = hexadecimal ? 16 : text[0] == '0' ? 8 : 10;
	return base == 16 && hexadecimal ? 2 : 0;
}

/* Parses a number after its sign. Return: 0 or a negative error code. */
int parse_whole(const char *text, unsigned int base, unsigned long long &value)
{
	text += base_prefix(text, base);

	const Digits digits = scan_digits(text, base);
	if (digits.overflow)
		return -ERANGE;
	if (digits.end == text)
		return -EINVAL;
	const char *rest = digits.end + (*digits.end == '\n');
	if (*rest)
		return -EINVAL;
	value = digits.value;
	return 0;
}

/* Parses a whole number with an optional sign, which must fit the type. */
template <typename Number>
int parse_signed(const char *text, unsigned int base, Number *result)
{
	const bool negative = *text == '-';
	if (negative || *text == '+')
		text++;
	unsigned long long value;
	if (const int error = parse_whole(text, base, value))
		return error;

	constexpr auto kLargest =
		static_cast<unsigned long long>(std::numeric_limits<Number>::max());
	if (value > kLargest + negative)
		return -ERANGE;
	*result = static_cast<Number>(negative ? 0 - value : value);
	return 0;
}

} /* namespace */

int kernel_sscanf(const char *text, const char *fmt, ...)
{
	va_list arguments;
	va_start(arguments, fmt);
	const int converted = scan(text, fmt, arguments);
	va_end(arguments);
	return converted;
}

int kstrtoint(const char *text, unsigned int base, int *result)
{
	return parse_signed(text, base, result);
}

int kstrtoll(const char *text, unsigned int base, long long *result)
{
	return parse_signed(text, base, result);
}

int kstrtouint_from_user(const char *user_text, size_t count, unsigned int base,
			 unsigned int *result)
{
	/* Room for a sign, the digits of base 2 and a newline. Longer text is cut off. */
	constexpr size_t kMost = 1 + 32 + 1;
	char text[kMost + 1];
	count = std::min(count, kMost);
	if (helper_copy_from_user(text, user_text, count))
		return -EFAULT;
	text[count] = '\0';

	unsigned long long value;
	if (const int error = parse_whole(text + (*text == '+'), base, value))
		return error;
	if (value > 0xffffffff)
		return -ERANGE;
	*result = static_cast<unsigned int>(value);
	return 0;
}

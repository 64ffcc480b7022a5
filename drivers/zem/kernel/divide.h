/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Division of 128-bit numbers. There is no runtime library for the compiler to call, and the
 * kernel's mul_u64_u64_div_u64() is not exact on every kernel. Context: any.
 */
#pragma once

#include "api/types.h"

namespace zem {

/* Return: the low 64 bits of the exact quotient @a * @b / @divisor; 0 if @divisor is 0. */
[[nodiscard]] inline u64 multiply_divide(u64 a, u64 b, u64 divisor)
{
	const auto product = static_cast<unsigned __int128>(a) * b;
	auto low = static_cast<u64>(product);
	const auto high = static_cast<u64>(product >> 64);
	if (!divisor)
		return 0;
	if (!high)
		return low / divisor;

	/* Long division, bit by bit. The quotient of the high half is beyond the low 64 bits. */
	u64 rest = high % divisor;
	u64 quotient = 0;
	for (int bit = 0; bit < 64; bit++) {
		const bool carry = rest >> 63;
		rest = rest << 1 | low >> 63;
		low <<= 1;
		quotient <<= 1;
		if (carry || rest >= divisor) {
			rest -= divisor;
			quotient |= 1;
		}
	}
	return quotient;
}

} /* namespace zem */

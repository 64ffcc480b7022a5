/* SPDX-License-Identifier: GPL-2.0 */
/* The page of a sysfs file, filled piece by piece. Text beyond the page is cut off. */
#pragma once

#include "api/sysfs.h"

namespace zem {

class Page {
public:
	explicit Page(char *page) : page_(page) {}

	/* Appends without formatting. */
	void add(const char *text) { size_ += sysfs_emit_at(page_, size_, "%s", text); }

	template <typename... Arguments>
	void add(const char *format, Arguments... arguments)
	{
		size_ += sysfs_emit_at(page_, size_, format, arguments...);
	}

	[[nodiscard]] int size() const { return size_; }

private:
	char *page_;
	int size_ = 0;
};

} /* namespace zem */

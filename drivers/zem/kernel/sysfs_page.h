/* SPDX-License-Identifier: GPL-2.0 */
/* The page that a sysfs file is shown in, filled piece by piece; what does not fit is cut off. */
#pragma once

#include "api/sysfs.h"

namespace zem {

class Page {
public:
	explicit Page(char *page) : page_(page) {}

	/* As it is. */
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

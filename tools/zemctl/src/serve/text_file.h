/* SPDX-License-Identifier: GPL-2.0 */
/*
 * A file with the metrics, for programs that collect such files where no port may be opened.
 */
#pragma once

#include <string>
#include <string_view>

namespace zemctl {

class MetricsFile {
public:
	/* The file zem.prom in @folder. The destructor removes it: its numbers would stay for ever.
	 */
	explicit MetricsFile(const std::string &folder);
	~MetricsFile();
	MetricsFile(const MetricsFile &) = delete;
	MetricsFile &operator=(const MetricsFile &) = delete;

	/* Replaces the content: a reader sees all of it or all of the former one. */
	void write(std::string_view text) const;

private:
	std::string path_;
	std::string part_;
};

} // namespace zemctl

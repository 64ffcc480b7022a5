// SPDX-License-Identifier: GPL-2.0
/*
 * A file with the metrics.
 */
#include "serve/text_file.h"

#include <cerrno>
#include <cstdio>

#include <unistd.h>

#include "base/errors.h"
#include "base/open_file.h"
#include "text/output.h"

namespace zemctl {

/* Collectors read files whose names end with .prom. */
MetricsFile::MetricsFile(const std::string &folder)
	: path_(folder + "/zem.prom"), part_(folder + "/zem.prom.part")
{
}

MetricsFile::~MetricsFile()
{
	::unlink(path_.c_str());
	::unlink(part_.c_str());
}

void MetricsFile::write(std::string_view text) const
{
	FileDescriptor file = open_file(part_, kCreateFlags | O_NOFOLLOW, 0644);
	Output output(file.get(), part_);
	output.append(text);
	output.flush();
	if (::close(file.release()) != 0)
		throw system_failure(part_, errno);
	if (std::rename(part_.c_str(), path_.c_str()) != 0)
		throw system_failure(path_, errno);
}

} // namespace zemctl

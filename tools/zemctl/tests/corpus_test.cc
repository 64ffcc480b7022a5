// SPDX-License-Identifier: GPL-2.0
/* Runs the fuzz targets on every input of the corpus, which has the inputs of earlier findings. */
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "targets.h"

namespace zemctl {

namespace {

namespace fs = std::filesystem;

std::vector<std::uint8_t> content(const fs::path &path)
{
	std::ifstream file(path, std::ios::binary);
	return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace

class CorpusTest : public testing::TestWithParam<fuzz::Target> {};

TEST_P(CorpusTest, every_input_keeps_the_promises)
{
	std::size_t inputs = 0;
	for (const fs::directory_entry &entry :
	     fs::directory_iterator(fs::path(ZEMCTL_CORPUS) / GetParam().name)) {
		SCOPED_TRACE(entry.path());
		GetParam().run(content(entry.path()));
		inputs++;
	}
	EXPECT_GE(inputs, 5u) << "in the corpus of " << GetParam().name;
}

INSTANTIATE_TEST_SUITE_P(, CorpusTest, testing::ValuesIn(fuzz::kTargets),
			 [](const auto &target) { return std::string(target.param.name); });

TEST(FuzzTargetDeathTest, a_broken_promise_ends_the_process)
{
	EXPECT_DEATH(fuzz::require(false, "two is one"), "fuzz: not so: two is one");
	fuzz::require(true, "one is one");
}

} // namespace zemctl

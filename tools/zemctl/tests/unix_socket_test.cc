// SPDX-License-Identifier: GPL-2.0
/*
 * The file of the Unix socket.
 */
#include "serve/unix_socket.h"

#include <sys/resource.h>
#include <sys/stat.h>

#include "failure_of.h"
#include "module_files.h"

namespace zemctl {

class UnixSocketTest : public testing::Test, protected ModuleFiles {};

TEST_F(UnixSocketTest, is_open_to_its_owner_and_group_and_ends_with_the_server)
{
	const std::string path = root / "socket";
	struct stat status = {};
	{
		const UnixListener listener(path);
		ASSERT_EQ(::stat(path.c_str(), &status), 0);
		EXPECT_TRUE(S_ISSOCK(status.st_mode));
		EXPECT_EQ(status.st_mode & 0777, 0660u);
		EXPECT_TRUE(connect_to_server(path).is_open());
	}
	EXPECT_NE(::stat(path.c_str(), &status), 0);
	EXPECT_FALSE(connect_to_server(path).is_open());
}

TEST_F(UnixSocketTest, takes_the_place_of_one_that_a_server_left_and_of_no_other_file)
{
	const std::string path = root / "socket";
	const std::string left = root / "left";
	{
		const UnixListener listener(path);
		fs::rename(path, left);
	}
	{
		const UnixListener listener(left);
		EXPECT_TRUE(connect_to_server(left).is_open());
	}
	put("socket", "precious");
	EXPECT_EQ(failure_of([&] { const UnixListener listener(path); }),
		  path + ": Address already in use");
	EXPECT_EQ(get("socket"), "precious");
}

TEST_F(UnixSocketTest, needs_a_path_that_fits_an_address)
{
	const std::string path(108, 'x');
	EXPECT_EQ(failure_of([&] { const UnixListener listener(path); }),
		  path + ": File name too long");
	EXPECT_FALSE(connect_to_server(path).is_open());
}

TEST_F(UnixSocketTest, without_a_descriptor_the_failure_says_so)
{
	rlimit limit;
	ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
	const rlimit none = {0, limit.rlim_max};
	ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
	const std::string path = root / "socket";
	const std::string failure = failure_of([&] { UnixListener listener(path); });
	ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
	EXPECT_EQ(failure, path + ": Too many open files");
}

} // namespace zemctl

// SPDX-License-Identifier: GPL-2.0
/*
 * An app like those on a phone, for the demo: demo_app FILE WORK [CARD]. Its main thread works WORK
 * ms for each frame, ten times per second. Other threads read FILE.pictures from the disk and write
 * FILE.log, four times per second each. With CARD, another one reads from this slow disk, and
 * writes FILE.copy, which the kernel moves to the disk later. Runs until it is killed.
 */
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <thread>

#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;

constexpr std::size_t kPiece = std::size_t{64} * 1024;
constexpr off_t kFileSize = off_t{4} * 1024 * 1024;
constexpr auto kFrame = 100ms;
constexpr auto kRest = 250ms;

int open_or_exit(const std::string &path, int flags)
{
	const int fd = ::open(path.c_str(), flags | O_CLOEXEC, 0600);
	if (fd < 0) {
		std::fprintf(stderr, "demo_app: %s: %s\n", path.c_str(), std::strerror(errno));
		std::exit(1);
	}
	return fd;
}

/* Direct reads need an aligned buffer. */
void *new_piece()
{
	void *piece = std::aligned_alloc(4096, kPiece);
	std::memset(piece, 'z', kPiece);
	return piece;
}

void show_pictures(const std::string &path)
{
	const int fd = open_or_exit(path, O_RDONLY | O_DIRECT);
	void *piece = new_piece();
	for (;;) {
		if (::read(fd, piece, kPiece) <= 0)
			::lseek(fd, 0, SEEK_SET);
		std::this_thread::sleep_for(kRest);
	}
}

off_t offset_after(off_t offset)
{
	return (offset + static_cast<off_t>(kPiece)) % kFileSize;
}

void keep_log(const std::string &path)
{
	const int fd = open_or_exit(path, O_WRONLY | O_CREAT | O_DSYNC);
	const void *piece = new_piece();
	for (off_t offset = 0;; offset = offset_after(offset)) {
		if (::pwrite(fd, piece, kPiece, offset) < 0)
			std::perror("demo_app: log");
		std::this_thread::sleep_for(kRest);
	}
}

void copy_from_card(const std::string &card, const std::string &path)
{
	const int from = open_or_exit(card, O_RDONLY | O_DIRECT);
	const int to = open_or_exit(path, O_WRONLY | O_CREAT);
	void *piece = new_piece();
	for (off_t offset = 0;; offset = offset_after(offset)) {
		if (::pread(from, piece, kPiece, offset) < 0 ||
		    ::pwrite(to, piece, kPiece, offset) < 0)
			std::perror("demo_app: copy");
		std::this_thread::sleep_for(kRest);
	}
}

std::chrono::nanoseconds cpu_time()
{
	timespec now;
	::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
	return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
}

void draw(std::chrono::milliseconds work)
{
	auto frame = std::chrono::steady_clock::now();
	for (;;) {
		const auto end = cpu_time() + work;
		while (cpu_time() < end)
			;
		frame += kFrame;
		std::this_thread::sleep_until(frame);
	}
}

template <typename... Arguments>
void start(const char *name, void (*run)(const Arguments &...), const Arguments &...arguments)
{
	std::thread thread(run, arguments...);
	::pthread_setname_np(thread.native_handle(), name);
	thread.detach();
}

} // namespace

int main(int argc, char **argv)
{
	if (argc != 3 && argc != 4) {
		std::fputs("usage: demo_app FILE WORK [CARD]\n", stderr);
		return 2;
	}
	const std::string file = argv[1];
	start("pictures", show_pictures, file + ".pictures");
	start("log", keep_log, file + ".log");
	if (argc == 4)
		start("copy", copy_from_card, std::string(argv[3]), file + ".copy");
	draw(std::chrono::milliseconds(std::atoi(argv[2])));
}

// SPDX-License-Identifier: GPL-2.0
/* Reads: one session opens a file and reads it in several ways. */
#include <cstring>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/uio.h>
#include <unistd.h>

#include "random.h"
#include "workers.h"

namespace fuzz {

namespace {

constexpr std::size_t kReadMax = 16'384;
constexpr off_t kOffsets[] = {0, 1, 3, 4095, 4096, 65'536, 2'147'483'647, INT64_MAX, -1};

class ReadSession {
public:
	ReadSession(FileLedger &file, Random random) : file_(file), random_(random) {}

	/* Return: whether the file exists. */
	bool run()
	{
		fd_ = ::open(file_.path, O_RDONLY | O_CLOEXEC);
		file_.opens.add(fd_);
		if (fd_ < 0)
			return false;
		for (std::size_t count = 1 + random_.below(8); count > 0; count--)
			read();
		::close(fd_);
		return true;
	}

private:
	void read()
	{
		char bytes[kReadMax];
		const std::size_t size = random_.one_in(2) ? sizeof(bytes) :
							     random_.below(sizeof(bytes) + 1);
		switch (random_.below(10)) {
		case 0:
			file_.reads.add(::pread(fd_, bytes, size, random_.one_of(kOffsets)));
			break;
		case 1:
			return read_in_pieces(bytes);
		case 2:
			return read_into_pipe(size);
		case 3:
			::lseek(fd_, random_.one_of(kOffsets), static_cast<int>(random_.below(4)));
			break;
		case 4:
			return wait();
		case 5:
			return map(size);
		case 6:
			/* A read to a null buffer. */
			file_.reads.add(::read(fd_, nullptr, size));
			break;
		case 7:
			::usleep(static_cast<useconds_t>(random_.below(20'000)));
			break;
		default:
			file_.reads.add(::read(fd_, bytes, size));
		}
	}

	void read_in_pieces(char (&bytes)[kReadMax])
	{
		const std::size_t first = random_.below(64);
		const iovec pieces[] = {
			{bytes, first}, {nullptr, 0}, {bytes + 64, 1 + random_.below(4096)}};
		file_.reads.add(::preadv(fd_, pieces, 3, 0));
	}

	void read_into_pipe(std::size_t size)
	{
		int ends[2];
		if (::pipe2(ends, O_CLOEXEC | O_NONBLOCK))
			give_up("pipe2");
		file_.reads.add(::splice(fd_, nullptr, ends[1], nullptr, size, SPLICE_F_NONBLOCK));
		::close(ends[0]);
		::close(ends[1]);
	}

	void wait()
	{
		pollfd waiting = {fd_, POLLPRI | POLLIN | POLLERR, 0};
		::poll(&waiting, 1, static_cast<int>(random_.below(30)));
	}

	void map(std::size_t size)
	{
		void *address = ::mmap(nullptr, size, PROT_READ, MAP_SHARED, fd_, 0);
		if (address != MAP_FAILED)
			::munmap(address, size);
	}

	FileLedger &file_;
	Random random_;
	int fd_ = -1;
};

/* Lists files in proportion to their weight: a read of the ring's size logs a line for each CPU. */
std::vector<FileLedger *> choices(Ledger &ledger)
{
	std::vector<FileLedger *> files;
	for (std::size_t i = 0; i < ledger.file_count; i++) {
		FileLedger &file = ledger.files[i];
		if (file.is_readable() && (::getuid() == 0 || file.is_readable_by_all()))
			files.insert(files.end(),
				     std::strcmp(file.path, "/sys/zem/rb_size") ? 8 : 1, &file);
	}
	return files;
}

} // namespace

/* Pauses between reads, so that the readers leave CPU time to the writers. */
void work_on_reads(const Worker &worker)
{
	const std::vector<FileLedger *> files = choices(worker.ledger);
	for (std::uint64_t session = 0; !worker.ledger.stopping; session++) {
		Random random(worker.seed, worker.number, session);
		FileLedger &file = *files[random.below(files.size())];
		ReadSession(file, random).run();
		::usleep(static_cast<useconds_t>(random.below(4000)));
	}
}

} // namespace fuzz

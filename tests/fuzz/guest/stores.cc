// SPDX-License-Identifier: GPL-2.0
/* Stores: one session opens a file and writes to it in several ways. */
#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/sendfile.h>
#include <sys/uio.h>
#include <unistd.h>

#include "bytes.h"
#include "random.h"
#include "workers.h"

namespace fuzz {

namespace {

constexpr std::size_t kPage = 4096;
constexpr int kOpenFlags[] = {O_WRONLY,
			      O_WRONLY,
			      O_WRONLY,
			      O_RDWR,
			      O_RDWR,
			      O_WRONLY | O_TRUNC,
			      O_WRONLY | O_APPEND,
			      O_RDWR | O_NONBLOCK};
constexpr off_t kOffsets[] = {0, 0, 1, 2, 479, 480, 4095, 4096, 8192, 2'147'483'647, INT64_MAX, -1};
constexpr int kWriteFlags[] = {0, RWF_DSYNC, RWF_SYNC, RWF_HIPRI, RWF_NOWAIT, RWF_APPEND, 1 << 30};

/* Bytes at the end of a page without memory after it: reading past them faults. */
class EdgeOfMemory {
public:
	EdgeOfMemory()
	{
		void *memory = ::mmap(nullptr, kStoreMax + kPage, PROT_READ | PROT_WRITE,
				      MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
		if (memory == MAP_FAILED)
			give_up("mmap");
		end_ = static_cast<char *>(memory) + kStoreMax;
		if (::mprotect(end_, kPage, PROT_NONE))
			give_up("mprotect");
	}

	/* Returns the address of @bytes, which end where the memory ends. */
	const char *place(const std::string &bytes) const
	{
		char *begin = end_ - bytes.size();
		std::memcpy(begin, bytes.data(), bytes.size());
		return begin;
	}

private:
	char *end_;
};

class Pipe {
public:
	Pipe()
	{
		if (::pipe2(ends_, O_CLOEXEC | O_NONBLOCK))
			give_up("pipe2");
	}
	~Pipe()
	{
		::close(ends_[0]);
		::close(ends_[1]);
	}
	Pipe(const Pipe &) = delete;
	Pipe &operator=(const Pipe &) = delete;

	int fill(const std::string &bytes) const
	{
		if (::write(ends_[1], bytes.data(), bytes.size()) < 0)
			give_up("write to a pipe");
		return ends_[0];
	}

private:
	int ends_[2];
};

class StoreSession {
public:
	StoreSession(Ledger &ledger, FileLedger &file, Random random, const EdgeOfMemory &edge)
		: ledger_(ledger), file_(file), random_(random), edge_(edge)
	{
	}

	/* Return: whether the file exists. */
	bool run()
	{
		fd_ = ::open(file_.path, random_.one_of(kOpenFlags) | O_CLOEXEC);
		file_.opens.add(fd_);
		if (fd_ < 0)
			return false;
		for (std::size_t count = 1 + random_.below(24); count > 0; count--) {
			if (ledger_.stopping)
				break;
			store();
			if (random_.one_in(16))
				disturb();
		}
		::close(fd_);
		return true;
	}

private:
	void count(long result)
	{
		file_.stores.add(result);
		ledger_.count_store();
	}

	void store()
	{
		const std::string bytes = make_bytes(random_, file_.path);
		switch (random_.below(16)) {
		case 0:
			return store_at_offset(bytes);
		case 1:
			return store_in_pieces(bytes);
		case 2:
			return store_small(bytes);
		case 3:
			return store_from_pipe(bytes);
		case 4:
			return store_past_memory(bytes);
		case 5:
			return store_from_file(bytes);
		default:
			count(::write(fd_, bytes.data(), bytes.size()));
		}
	}

	void store_at_offset(const std::string &bytes)
	{
		const off_t offset = random_.one_of(kOffsets);
		const iovec whole = {const_cast<char *>(bytes.data()), bytes.size()};
		if (random_.one_in(2))
			count(::pwrite(fd_, bytes.data(), bytes.size(), offset));
		else
			count(::pwritev2(fd_, &whole, 1, offset, random_.one_of(kWriteFlags)));
	}

	/* One writev() of several pieces, some of them empty. */
	void store_in_pieces(const std::string &bytes)
	{
		std::vector<iovec> pieces;
		std::size_t begin = 0;
		for (std::size_t number = random_.below(5); number > 0; number--) {
			const std::size_t size = random_.below(bytes.size() - begin + 1);
			pieces.push_back({const_cast<char *>(bytes.data()) + begin, size});
			begin += size;
		}
		pieces.push_back({const_cast<char *>(bytes.data()) + begin, bytes.size() - begin});
		count(::writev(fd_, pieces.data(), static_cast<int>(pieces.size())));
	}

	/* Many calls with a few bytes each. */
	void store_small(const std::string &bytes)
	{
		std::size_t begin = 0;
		for (int calls = 0; calls < 16 && begin < bytes.size(); calls++) {
			const std::size_t size =
				std::min(1 + random_.below(7), bytes.size() - begin);
			count(::write(fd_, bytes.data() + begin, size));
			begin += size;
		}
	}

	void store_from_pipe(const std::string &bytes)
	{
		const Pipe pipe;
		const int source = pipe.fill(bytes);
		count(::splice(source, nullptr, fd_, nullptr, bytes.size(), SPLICE_F_NONBLOCK));
	}

	void store_from_file(const std::string &bytes)
	{
		const int source = ::memfd_create("fuzz", MFD_CLOEXEC);
		if (source < 0 || ::pwrite(source, bytes.data(), bytes.size(), 0) < 0)
			give_up("memfd");
		count(::sendfile(fd_, source, nullptr, bytes.size()));
		::close(source);
	}

	/* Up to a page more than the memory, or all of it from an invalid address. */
	void store_past_memory(const std::string &bytes)
	{
		const char *begin = random_.one_in(4) ? nullptr : edge_.place(bytes);
		count(::write(fd_, begin, bytes.size() + random_.below(3)));
	}

	/* Calls between stores that do not write. */
	void disturb()
	{
		char text[16];
		switch (random_.below(5)) {
		case 0:
			::lseek(fd_, random_.one_of(kOffsets), static_cast<int>(random_.below(4)));
			break;
		case 1:
			static_cast<void>(
				::ftruncate(fd_, static_cast<off_t>(random_.below(8193))));
			break;
		case 2:
			file_.reads.add(::pread(fd_, text, sizeof(text), 0));
			break;
		case 3:
			::fsync(fd_);
			break;
		default:
			/* Long enough for an unload while the file is open. */
			::usleep(static_cast<useconds_t>(random_.below(20'000)));
		}
	}

	Ledger &ledger_;
	FileLedger &file_;
	Random random_;
	const EdgeOfMemory &edge_;
	int fd_ = -1;
};

/*
 * The relative frequency of a file. Resizing, collecting and searching for groups take a thousand
 * times longer than a store of a number, and a switch patches the kernel's code.
 */
std::size_t weight(const FileLedger &file)
{
	const std::string_view path = file.path;
	if (path.ends_with("/trace_on"))
		return 0;
	if (path.ends_with("/trigger") || path.ends_with("/rb_size") ||
	    path.ends_with("/sched_healthinfo_enable"))
		return 1;
	return path.ends_with("_enabled") || path.ends_with("_report") ? 4 : 16;
}

/* Lists each file in proportion to its weight. */
std::vector<FileLedger *> choices(Ledger &ledger)
{
	std::vector<FileLedger *> files;
	for (std::size_t i = 0; i < ledger.file_count; i++) {
		FileLedger &file = ledger.files[i];
		if (file.is_writable() && (::getuid() == 0 || file.is_writable_by_all()))
			files.insert(files.end(), weight(file), &file);
	}
	return files;
}

} // namespace

void work_on_stores(const Worker &worker)
{
	const std::vector<FileLedger *> files = choices(worker.ledger);
	const EdgeOfMemory edge;
	for (std::uint64_t session = 0; !worker.ledger.stopping; session++) {
		Random random(worker.seed, worker.number, session);
		FileLedger &file = *files[random.below(files.size())];
		if (!StoreSession(worker.ledger, file, random, edge).run())
			::usleep(1000); /* the module is unloaded */
	}
}

void work_on_trace_switch(const Worker &worker)
{
	const EdgeOfMemory edge;
	FileLedger *file = nullptr;
	for (std::size_t i = 0; i < worker.ledger.file_count; i++)
		if (!std::strcmp(worker.ledger.files[i].path, "/sys/zem/trace_on"))
			file = &worker.ledger.files[i];
	for (std::uint64_t session = 0; !worker.ledger.stopping; session++) {
		const Random random(worker.seed, worker.number, session);
		StoreSession(worker.ledger, *file, random, edge).run();
		/* Mostly on: while trace is off, the channels' files only count bytes. */
		const int fd = ::open(file->path, O_WRONLY | O_CLOEXEC);
		if (fd >= 0) {
			file->stores.add(::write(fd, "1", 1));
			worker.ledger.count_store();
			::close(fd);
		}
		::usleep(200'000);
	}
}

} // namespace fuzz

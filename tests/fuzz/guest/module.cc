// SPDX-License-Identifier: GPL-2.0
/*
 * Unloads and loads the module. Its consumer ends only after one more record, so a second process
 * pushes records, with trace on, and hands the buffer back until the call returns.
 */
#include <csignal>
#include <cstdio>
#include <ctime>

#include <fcntl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "random.h"
#include "workers.h"

namespace fuzz {

namespace {

void store(const char *path, char byte)
{
	const int fd = ::open(path, O_WRONLY | O_CLOEXEC);
	if (fd < 0)
		return;
	static_cast<void>(!::write(fd, &byte, 1));
	::close(fd);
}

void hand_back()
{
	char bytes[8];
	const int fd = ::open("/sys/zem/trace", O_RDONLY | O_CLOEXEC);
	if (fd < 0)
		return;
	static_cast<void>(!::read(fd, bytes, sizeof(bytes)));
	::close(fd);
}

[[noreturn]] void make_records()
{
	for (;;) {
		store("/sys/zem/trace_on", '1');
		store("/sys/zem/test", 'x');
		hand_back();
		::usleep(5000);
	}
}

/* Return: whether the module is unloaded. Another process may have kept the device open. */
bool unload(Ledger &ledger)
{
	constexpr int kTries = 400;
	const pid_t producer = ::fork();
	if (producer < 0)
		give_up("fork");
	if (producer == 0)
		make_records();
	ledger.unloading = true;
	bool gone = false;
	for (int tries = 0; !gone && tries < kTries; tries++) {
		const long result = ::syscall(SYS_delete_module, "zem", O_NONBLOCK);
		ledger.unloads.add(result);
		gone = result == 0;
		if (!gone)
			::usleep(5000);
	}
	ledger.unloading = false;
	::kill(producer, SIGKILL);
	::waitpid(producer, nullptr, 0);
	return gone;
}

bool load(Ledger &ledger, const char *module_path)
{
	const int fd = ::open(module_path, O_RDONLY | O_CLOEXEC);
	if (fd < 0)
		give_up(module_path);
	const long result = ::syscall(SYS_finit_module, fd, "", 0);
	ledger.loads.add(result);
	::close(fd);
	if (result)
		std::fprintf(stderr, "fuzz: the module does not load: %m\n");
	return result == 0;
}

std::int64_t monotonic_ms()
{
	timespec now;
	::clock_gettime(CLOCK_MONOTONIC, &now);
	return static_cast<std::int64_t>(now.tv_sec) * 1000 + now.tv_nsec / 1'000'000;
}

} // namespace

bool reload_module(Ledger &ledger, const char *module_path)
{
	return unload(ledger) && load(ledger, module_path);
}

/* Leaves the module loaded for several rounds, so that most stores find it. */
void work_on_module(const Worker &worker, const char *module_path)
{
	for (std::uint64_t session = 0; !worker.ledger.stopping; session++) {
		Random random(worker.seed, worker.number, session);
		const std::int64_t begin = monotonic_ms();
		if (unload(worker.ledger) && !load(worker.ledger, module_path))
			worker.ledger.stopping = true;
		const std::int64_t took = monotonic_ms() - begin;
		const std::int64_t end = monotonic_ms() + 500 + took * random.between(1, 4);
		while (!worker.ledger.stopping && monotonic_ms() < end)
			::usleep(10'000);
	}
}

} // namespace fuzz

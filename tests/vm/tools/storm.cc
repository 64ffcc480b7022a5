// SPDX-License-Identifier: GPL-2.0
/* A storm of tasks that fork, switch, exec and exit, at a rate that leaves the machine usable. */
#include "commands.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include <pthread.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "system.h"

namespace {

constexpr int kRest = 4; /* ms, between two tasks of a worker */
constexpr int kThrows = 8;

volatile std::sig_atomic_t stopping = 0;

void stop(int)
{
	stopping = 1;
}

void *end_at_once(void *)
{
	return nullptr;
}

/* Two tasks that wait for each other switch for every byte. */
void throw_to_and_fro()
{
	int there[2], back[2];
	char byte = 0;
	if (::pipe(there) || ::pipe(back))
		::_exit(1);
	const pid_t other = ::fork();
	if (other < 0)
		::_exit(1);
	for (int i = 0; i < kThrows; i++) {
		if (other && (::write(there[1], &byte, 1) != 1 || ::read(back[0], &byte, 1) != 1))
			::_exit(1);
		if (!other && (::read(there[0], &byte, 1) != 1 || ::write(back[1], &byte, 1) != 1))
			::_exit(1);
	}
	if (other)
		::waitpid(other, nullptr, 0);
}

[[noreturn]] void live_a_short_life(unsigned long turn)
{
	pthread_t thread;
	switch (turn % 4) {
	case 0:
		::execl("/bin/true", "true", nullptr);
		::_exit(1);
	case 1:
		throw_to_and_fro();
		::_exit(0);
	case 2:
		::_exit(::pthread_create(&thread, nullptr, end_at_once, nullptr) ||
			::pthread_join(thread, nullptr));
	default:
		::_exit(0);
	}
}

/* Return: the number of tasks that failed. */
unsigned long work(std::int64_t end, unsigned long &lives)
{
	unsigned long failed = 0;
	while (!stopping && monotonic_ms() < end) {
		const pid_t child = ::fork();
		if (child < 0)
			give_up("fork");
		if (child == 0)
			live_a_short_life(lives);
		int status;
		if (::waitpid(child, &status, 0) != child || status)
			failed++;
		lives++;
		sleep_ms(kRest);
	}
	return failed;
}

} // namespace

int run_storm(Arguments arguments)
{
	const std::int64_t end = monotonic_ms() + number(arguments[0]) * 1000;
	const long long workers = number(arguments[1]);
	std::signal(SIGTERM, stop);
	std::vector<pid_t> others; /* empty in the other workers */
	for (long long i = 1; i < workers; i++) {
		const pid_t worker = ::fork();
		if (worker < 0)
			give_up("fork");
		if (worker) {
			others.push_back(worker);
			continue;
		}
		::prctl(PR_SET_PDEATHSIG, SIGTERM);
		others.clear();
		break;
	}
	unsigned long lives = 0;
	const unsigned long failed = work(end, lives);
	std::printf("lives=%lu failed=%lu\n", lives, failed);
	for (const pid_t worker : others)
		::kill(worker, SIGTERM);
	int status, worst = failed != 0;
	while (::wait(&status) > 0)
		worst |= status != 0;
	return worst;
}

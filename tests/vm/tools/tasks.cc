// SPDX-License-Identifier: GPL-2.0
/*
 * Commands that are tasks to be measured. Before and after a measured span of work a task stops
 * itself, so that a test can read the kernel's statistics at both points.
 */
#include "commands.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <fcntl.h>
#include <grp.h>
#include <pthread.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "system.h"

namespace {

constexpr std::size_t kBlock = 4096;

void stop_for_the_test()
{
	::raise(SIGSTOP);
}

void pin_to(int cpu)
{
	cpu_set_t cpus;
	CPU_ZERO(&cpus);
	CPU_SET(cpu, &cpus);
	if (::sched_setaffinity(0, sizeof(cpus), &cpus))
		give_up("sched_setaffinity");
}

/* Return: the child's process id, and 0 in the child, which does not outlive its parent. */
pid_t fork_child()
{
	const pid_t child = ::fork();
	if (child < 0)
		give_up("fork");
	if (child == 0)
		::prctl(PR_SET_PDEATHSIG, SIGKILL);
	return child;
}

[[noreturn]] void wait_to_be_killed()
{
	for (;;)
		::pause();
}

} // namespace

namespace {

void spin_until(std::int64_t end)
{
	while (monotonic_ms() < end)
		;
}

} // namespace

int run_spin(Arguments arguments)
{
	const auto duration = number(arguments[1]);
	const bool has_rests = arguments.size() > 3;
	const auto busy = has_rests ? number(arguments[2]) : duration;
	const int rest = has_rests ? static_cast<int>(number(arguments[3])) : 0;
	pin_to(static_cast<int>(number(arguments[0])));
	stop_for_the_test();
	for (const std::int64_t end = monotonic_ms() + duration; monotonic_ms() < end;) {
		spin_until(monotonic_ms() + busy);
		sleep_ms(rest);
	}
	stop_for_the_test();
	return 0;
}

int run_direct_reads(Arguments arguments)
{
	const File file(arguments[0], O_RDONLY | O_DIRECT);
	if (file.fd() < 0)
		give_up(arguments[0]);
	void *block = ::mmap(nullptr, kBlock, PROT_READ | PROT_WRITE,
			     MAP_PRIVATE | MAP_ANONYMOUS | MAP_POPULATE, -1, 0);
	stop_for_the_test();
	for (long long i = 0; i < number(arguments[1]); i++)
		if (::pread(file.fd(), block, kBlock, i * static_cast<off_t>(kBlock)) < 0)
			give_up(arguments[0]);
	stop_for_the_test();
	return 0;
}

/*
 * The parent of a vfork() child sleeps uninterruptibly, and not for IO, until the child calls exec
 * or exits. The child here has memory of its own, so it may do anything.
 */
int run_wait_for_exec(Arguments arguments)
{
	const int duration = static_cast<int>(number(arguments[1]));
	stop_for_the_test();
	for (long long i = 0; i < number(arguments[0]); i++) {
		const long child = ::syscall(SYS_clone, CLONE_VFORK | SIGCHLD, 0, 0, 0, 0);
		if (child < 0)
			give_up("clone");
		if (child == 0) {
			sleep_ms(duration);
			::_exit(0);
		}
		::waitpid(static_cast<pid_t>(child), nullptr, 0);
	}
	stop_for_the_test();
	return 0;
}

int run_sleepers(Arguments arguments)
{
	const auto uid = arguments.size() > 1 ? static_cast<uid_t>(number(arguments[1])) : 0;
	for (long long i = 0; i < number(arguments[0]); i++) {
		int named[2];
		if (::pipe(named))
			give_up("pipe");
		const pid_t child = fork_child();
		if (child == 0) {
			::prctl(PR_SET_NAME, ("sleeper-" + std::to_string(i)).c_str());
			if (uid && ::setuid(uid))
				give_up("setuid");
			::close(named[0]);
			::close(named[1]);
			wait_to_be_killed();
		}
		/* The child's end of the pipe closes when the child has its name. */
		::close(named[1]);
		char byte;
		if (::read(named[0], &byte, 1))
			give_up("pipe");
		::close(named[0]);
		std::printf("%d\n", child);
	}
	std::printf("ready\n");
	wait_to_be_killed();
}

namespace {

void *name_thread_and_wait(void *)
{
	::prctl(PR_SET_NAME, "a-second-thread");
	std::printf("%d\nready\n", ::gettid());
	wait_to_be_killed();
}

} // namespace

int run_second_thread(Arguments)
{
	pthread_t thread;
	std::printf("%d\n", ::getpid());
	if (::pthread_create(&thread, nullptr, name_thread_and_wait, nullptr))
		give_up("pthread_create");
	wait_to_be_killed();
}

namespace {

/* Reads ten blocks from the device. */
void read_as_user(uid_t uid, const char *path)
{
	const File file(path, O_RDONLY | O_DIRECT);
	void *block = ::mmap(nullptr, kBlock, PROT_READ | PROT_WRITE,
			     MAP_PRIVATE | MAP_ANONYMOUS | MAP_POPULATE, -1, 0);
	if (file.fd() < 0 || block == MAP_FAILED || ::setuid(uid))
		give_up(path);
	for (off_t i = 0; i < 10; i++)
		if (::pread(file.fd(), block, kBlock, i * static_cast<off_t>(kBlock)) < 0)
			give_up(path);
}

} // namespace

int run_zombie(Arguments arguments)
{
	const pid_t child = fork_child();
	if (child == 0) {
		if (arguments.size() > 1)
			read_as_user(static_cast<uid_t>(number(arguments[0])), arguments[1]);
		::_exit(0);
	}
	siginfo_t info;
	::waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOWAIT);
	std::printf("%d\nready\n", child);
	wait_to_be_killed();
}

int run_as(Arguments arguments)
{
	const std::string ids = arguments[0];
	const std::size_t colon = ids.find(':');
	const auto real = static_cast<uid_t>(number(ids.substr(0, colon).c_str()));
	const auto effective = colon == std::string::npos ?
				       real :
				       static_cast<uid_t>(number(ids.substr(colon + 1).c_str()));
	if (::setgroups(0, nullptr) || ::setgid(real) || ::setresuid(real, effective, effective))
		give_up("setresuid");
	/* The shell's array, which a null pointer ends. */
	::execvp(arguments[1], const_cast<char **>(&arguments[1]));
	give_up(arguments[1]);
}

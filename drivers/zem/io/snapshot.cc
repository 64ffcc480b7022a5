// SPDX-License-Identifier: GPL-2.0
#include "io/snapshot.h"

#include "io/bio_accounting.h"
#include "io/bio_fold.h"
#include "io/uid_top.h"
#include "kernel/guarded.h"
#include "linux/zem.h"
#include "platform/contract.h"

namespace zem {

constinit Guarded<IoSnapshot, Mutex> io_snapshot;

namespace {

/* Return: false if the indicators are off; then nothing was gathered. */
bool gather(IoSnapshot &io)
{
	if (!kioind_on.load())
		return false;
	refresh_diskstats(io);
	refresh_uid_lists(io);
	gather_bio_cnt(io.kioind);
	gather_long_iowait_file(&io.kioind);
	return true;
}

} /* namespace */

void io_snapshot_init()
{
	io_snapshot.init("zem_kioind");
}

void with_io_snapshot(FunctionRef<void(IoSnapshot &io)> use)
{
	io_snapshot.with(use);
}

void refresh_diskstats(IoSnapshot &io)
{
	if (kioind_on.load())
		kio_diskstats(io.kioind, io.devices);
}

void refresh_uid_lists(IoSnapshot &io)
{
	if (kioind_on.load())
		kio_uid_io(io.kioind);
}

void kioind_save_dev()
{
	io_snapshot.with([](IoSnapshot &io) { find_tracked_devices(io.devices); });
}

void kioind_upload(FunctionRef<void(const zem_kio &snapshot)> emit)
{
	io_snapshot.with([emit](IoSnapshot &io) {
		if (!gather(io))
			return;
		emit(io.kioind);
		__builtin_memset(&io.kioind, 0, sizeof(io.kioind));
	});
}

void kioind_prime()
{
	io_snapshot.with(gather);
}

} /* namespace zem */

void *get_all_kioind(void)
{
	using namespace zem;

	return io_snapshot.with(
		[](IoSnapshot &io) -> void * { return gather(io) ? &io.kioind : nullptr; });
}

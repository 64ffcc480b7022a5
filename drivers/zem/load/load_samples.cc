// SPDX-License-Identifier: GPL-2.0
#include "load/load_samples.h"

namespace zem {

constinit Guarded<LoadSamples, SpinLock> load_samples;

void load_samples_init()
{
	load_samples.init("zem_load_lock");
	load_samples.with([](LoadSamples &samples) { samples.window.open(); });
}

} /* namespace zem */

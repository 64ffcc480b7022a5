// SPDX-License-Identifier: GPL-2.0
/*
 * The 21 setters and the table of channels, generated from one list.
 * Context: setters: any.
 */
#include "core/channels.h"

#include "core/records.h"
#include "linux/zem.h"

#define ZEM_DEFINE_SETTER(symbol, name)                                      \
	void name##_zem_set(u64, const void *data, int len, u32 sub_type)    \
	{                                                                    \
		zem::push_record(ZEM_CHANNEL_##symbol, data, len, sub_type); \
	}
ZEM_CHANNELS(ZEM_DEFINE_SETTER)

#define ZEM_CHANNEL_ROW(symbol, name) {#name, name##_zem_set},

namespace zem {

constinit const Channel zem[ZEM_CHANNEL_COUNT] = {ZEM_CHANNELS(ZEM_CHANNEL_ROW)};

} /* namespace zem */

// SPDX-License-Identifier: GPL-2.0
/* The module's symbols for other modules. */
#include <linux/export.h>
#include <linux/zem.h>

#define ZEM_EXPORT_SETTER(symbol, name) EXPORT_SYMBOL(name##_zem_set);
ZEM_CHANNELS(ZEM_EXPORT_SETTER)

EXPORT_SYMBOL(get_display_interval);
EXPORT_SYMBOL(get_kzerod_info);
EXPORT_SYMBOL(record_uid_io_sync);
EXPORT_SYMBOL(record_uid_iowait);
EXPORT_SYMBOL(get_current_fg_uid);
EXPORT_SYMBOL(get_all_kioind);
EXPORT_SYMBOL(get_all_kmemind_func);
EXPORT_SYMBOL(display_error_zem_update);

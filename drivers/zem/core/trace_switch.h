/* SPDX-License-Identifier: GPL-2.0 */
/* The master switch, /sys/zem/trace_on, and the collector that it starts and stops. May sleep. */
#pragma once

namespace zem {

/* Before the switch's file exists. */
void trace_switch_init();

/* For shut-down, when the file is gone: ends the collector if it runs. */
void trace_switch_stop_collector();

} /* namespace zem */

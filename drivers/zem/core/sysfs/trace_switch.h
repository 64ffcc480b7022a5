/* SPDX-License-Identifier: GPL-2.0 */
/* The master switch, /sys/zem/trace_on, and the collector that it controls. Context: may sleep. */
#pragma once

namespace zem {

/* Call before the file exists. */
void trace_switch_init();

/* For shut-down, after the file was removed: stops the collector if it runs. */
void trace_switch_stop_collector();

} /* namespace zem */

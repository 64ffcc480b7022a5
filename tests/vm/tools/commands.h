/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The commands of zemtest: operations of the guest tests that a shell cannot do, or whose error
 * number it would hide. Each gets its arguments without the command's name and returns the exit
 * status. Results are lines on standard output.
 */
#pragma once

#include <span>

using Arguments = std::span<char *const>;

/* files.cc */
int run_store(Arguments arguments);
int run_read(Arguments arguments);
int run_fault(Arguments arguments);
int run_unload(Arguments arguments);
int run_keep_open(Arguments arguments);
int run_now(Arguments arguments);
int run_shift_clock(Arguments arguments);

/* log.cc */
int run_log(Arguments arguments);
int run_log_end(Arguments arguments);

/* device.cc */
int run_map(Arguments arguments);
int run_refusals(Arguments arguments);
int run_notified(Arguments arguments);

/* mapping.cc */
int run_mappings(Arguments arguments);
int run_scribble(Arguments arguments);
int run_hold(Arguments arguments);

/* take.cc */
int run_peek(Arguments arguments);
int run_take(Arguments arguments);
int run_flush(Arguments arguments);
int run_drain(Arguments arguments);

/* verify.cc */
int run_verify(Arguments arguments);
int run_count(Arguments arguments);

/* tasks.cc */
int run_spin(Arguments arguments);
int run_direct_reads(Arguments arguments);
int run_wait_for_exec(Arguments arguments);
int run_sleepers(Arguments arguments);
int run_second_thread(Arguments arguments);
int run_zombie(Arguments arguments);
int run_as(Arguments arguments);

/* transfers.cc */
int run_transfers(Arguments arguments);
int run_pieces(Arguments arguments);

/* kio.cc */
int run_kio_sums(Arguments arguments);

/* start_up.cc */
int run_load_failing(Arguments arguments);
int run_load_without_threads(Arguments arguments);

/* returns.cc */
int run_returns(Arguments arguments);

/* storm.cc */
int run_storm(Arguments arguments);

/* SPDX-License-Identifier: GPL-2.0 */
/* The cases: X(function). */
#pragma once

#define PARITY_CASES(X)                                          \
	X(sscanf_skips_spaces_and_ignores_what_follows)          \
	X(sscanf_wraps_a_number_that_is_too_large)               \
	X(kstrtoint_accepts_one_newline_and_nothing_else)        \
	X(kstrtoint_knows_the_bounds)                            \
	X(kstrtoll_knows_the_bounds)                             \
	X(snprintf_returns_the_length_of_the_whole_text)         \
	X(sysfs_emit_at_formats_as_the_views_need)               \
	X(sysfs_emit_at_cuts_text_at_the_end_of_the_page)        \
	X(ring_buffer_rounds_its_size_to_pages)                  \
	X(ring_buffer_without_a_buffer_is_resized_in_name)       \
	X(ring_buffer_events_are_aligned_to_4_bytes)             \
	X(ring_buffer_is_read_in_the_order_of_the_reservations)  \
	X(ring_buffer_overwrites_the_oldest_page)                \
	X(ring_buffer_takes_a_discarded_event_back)              \
	X(ring_buffer_refuses_what_a_page_cannot_hold)           \
	X(completion_counts_signals)                             \
	X(completion_times_out)                                  \
	X(seq_file_shows_all_in_one_pass_and_its_end_in_another) \
	X(seq_file_continues_at_the_next_element)                \
	X(seq_file_returns_a_full_buffer)                        \
	X(seq_file_repeats_an_element_that_does_not_fit)         \
	X(seq_file_seeks_from_the_start)                         \
	X(seq_file_gives_each_opening_its_state)                 \
	X(proc_files_are_gone_when_they_are_removed)

namespace parity {

#define PARITY_DECLARE(name) void name();
PARITY_CASES(PARITY_DECLARE)
#undef PARITY_DECLARE

} /* namespace parity */

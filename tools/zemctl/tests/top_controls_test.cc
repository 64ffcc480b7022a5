// SPDX-License-Identifier: GPL-2.0
/*
 * The keys of zemctl top, and what they do.
 */
#include <gtest/gtest.h>

#include "top/controls.h"

namespace zemctl {

namespace {

std::string names_of(const std::vector<Key> &keys)
{
	std::string names;
	for (const Key &key : keys)
		names += key.kind == KeyKind::kCharacter ?
				 std::string(1, key.character) :
				 "<" + std::to_string(static_cast<int>(key.kind)) + ">";
	return names;
}

std::string name_of(KeyKind kind)
{
	return names_of({{kind}});
}

void press(TopControls &controls, std::string_view bytes)
{
	KeyDecoder decoder;
	for (const Key &key : decoder.decode(bytes))
		controls.on_key(key);
	for (const Key &key : decoder.timeout())
		controls.on_key(key);
}

} // namespace

TEST(TopKeysTest, sequences_are_keys)
{
	KeyDecoder decoder;
	EXPECT_EQ(names_of(decoder.decode("q\x1b[A\x1b[B\x1bOA\r\x7f")),
		  "q" + name_of(KeyKind::kUp) + name_of(KeyKind::kDown) + name_of(KeyKind::kUp) +
			  name_of(KeyKind::kEnter) + name_of(KeyKind::kBackspace));
	EXPECT_EQ(names_of(decoder.decode("\x1b[5~\x1b[6~\x1b[H\x1b[F\x1b[1~\x1b[4~")),
		  name_of(KeyKind::kPageUp) + name_of(KeyKind::kPageDown) +
			  name_of(KeyKind::kHome) + name_of(KeyKind::kEnd) +
			  name_of(KeyKind::kHome) + name_of(KeyKind::kEnd));
}

TEST(TopKeysTest, unknown_sequences_are_one_key)
{
	KeyDecoder decoder;
	const std::string unknown = name_of(KeyKind::kUnknown);
	EXPECT_EQ(names_of(decoder.decode("\x1b[15~x\x1b[1;5Cy\x1b"
					  "az\x01")),
		  unknown + "x" + unknown + "y" + unknown + "z" + unknown);
	EXPECT_EQ(names_of(decoder.decode("\x1b[" + std::string(30, '1') + "x")), unknown + "x");
}

TEST(TopKeysTest, a_sequence_may_arrive_in_parts)
{
	KeyDecoder decoder;
	EXPECT_TRUE(decoder.decode("\x1b").empty());
	EXPECT_TRUE(decoder.decode("[").empty());
	EXPECT_EQ(names_of(decoder.decode("A")), name_of(KeyKind::kUp));
	EXPECT_TRUE(decoder.timeout().empty());
}

TEST(TopKeysTest, an_escape_that_nothing_follows_is_a_key)
{
	KeyDecoder decoder;
	EXPECT_TRUE(decoder.decode("\x1b").empty());
	EXPECT_EQ(names_of(decoder.timeout()), name_of(KeyKind::kEscape));
	EXPECT_EQ(names_of(decoder.decode("\x1b\x1b[A")),
		  name_of(KeyKind::kEscape) + name_of(KeyKind::kUp));
}

TEST(TopControlsTest, keys_choose_the_order)
{
	TopControls controls(TopOrder{});
	press(controls, "s");
	EXPECT_EQ(controls.order().by, TopSort::kRuntime);
	press(controls, "SS");
	EXPECT_EQ(controls.order().by, TopSort::kName);
	press(controls, "sr");
	EXPECT_EQ(controls.order().by, TopSort::kUsage);
	EXPECT_TRUE(controls.order().reverse);
	press(controls, "r");
	EXPECT_FALSE(controls.order().reverse);
}

TEST(TopControlsTest, a_filter_is_typed)
{
	TopControls controls(TopOrder{});
	press(controls, "/maqs");
	EXPECT_TRUE(controls.edits_filter());
	EXPECT_FALSE(controls.wants_quit());
	EXPECT_EQ(controls.order().filter, "maqs");
	press(controls, "\x7f\x7fps\r");
	EXPECT_FALSE(controls.edits_filter());
	EXPECT_EQ(controls.order().filter, "maps");
	press(controls, "/xyz\x1b");
	EXPECT_FALSE(controls.edits_filter());
	EXPECT_EQ(controls.order().filter, "maps");
	press(controls, "\x1b");
	EXPECT_EQ(controls.order().filter, "");
}

TEST(TopControlsTest, backspace_removes_a_whole_character)
{
	TopControls controls(TopOrder{});
	press(controls, "/a\u00e9\x7f");
	EXPECT_EQ(controls.order().filter, "a");
	press(controls, "\x7f\x7f");
	EXPECT_EQ(controls.order().filter, "");
}

TEST(TopControlsTest, help_ends_with_any_key)
{
	TopControls controls(TopOrder{});
	press(controls, "?");
	EXPECT_TRUE(controls.shows_help());
	press(controls, "q");
	EXPECT_FALSE(controls.shows_help());
	EXPECT_FALSE(controls.wants_quit());
	press(controls, "q");
	EXPECT_TRUE(controls.wants_quit());
}

TEST(TopControlsTest, quits_when_the_terminal_is_gone)
{
	TopControls controls(TopOrder{});
	press(controls, "/abc");
	controls.on_key({KeyKind::kHangup});
	EXPECT_TRUE(controls.wants_quit());
}

TEST(TopControlsTest, scrolls_within_the_processes)
{
	TopControls controls(TopOrder{});
	controls.fit_scroll(30, 10);
	press(controls, "\x1b[A");
	EXPECT_EQ(controls.scroll(), 0u);
	press(controls, "\x1b[B\x1b[6~");
	EXPECT_EQ(controls.scroll(), 11u);
	press(controls, "\x1b[F");
	controls.fit_scroll(30, 10);
	EXPECT_EQ(controls.scroll(), 20u);
	press(controls, "\x1b[5~");
	EXPECT_EQ(controls.scroll(), 10u);
	press(controls, "\x1b[H");
	EXPECT_EQ(controls.scroll(), 0u);
	press(controls, "\x1b[B");
	controls.fit_scroll(5, 10);
	EXPECT_EQ(controls.scroll(), 0u);
}

TEST(TopControlsTest, pauses_and_changes_the_speed)
{
	TopControls controls(TopOrder{}, 3);
	press(controls, "p+");
	EXPECT_TRUE(controls.is_paused());
	EXPECT_EQ(controls.speed(), 6);
	press(controls, " --");
	EXPECT_FALSE(controls.is_paused());
	EXPECT_EQ(controls.speed(), 1.5);
	press(controls, std::string(100, '+'));
	EXPECT_EQ(controls.speed(), 4096);
	press(controls, std::string(100, '-'));
	EXPECT_EQ(controls.speed(), 1.0 / 64);
	TopControls fast(TopOrder{}, 10000);
	press(fast, "+");
	EXPECT_EQ(fast.speed(), 10000);
}

} // namespace zemctl

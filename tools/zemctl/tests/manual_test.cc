// SPDX-License-Identifier: GPL-2.0
/*
 * The manual: every command has a page, its examples are understood, and its forms are those that
 * man and a terminal show.
 */
#include <filesystem>
#include <fstream>
#include <set>

#include "command_fixture.h"
#include "manual/markup.h"
#include "manual/render.h"

namespace zemctl {

namespace {

std::string contents_of(const std::filesystem::path &path)
{
	std::ifstream stream(path);
	return {std::istreambuf_iterator<char>(stream), {}};
}

} // namespace

class ManualTest : public CommandTest {
protected:
	/* Returns the commands that a user may complete. */
	std::vector<std::string> commands() const
	{
		std::istringstream words(run("complete ''").out);
		return {std::istream_iterator<std::string>(words), {}};
	}
};

TEST_F(ManualTest, has_a_page_with_examples_for_each_command)
{
	std::set<std::string> pages;
	for (const auto &file : std::filesystem::directory_iterator(ZEMCTL_MANUAL))
		pages.insert(file.path().stem());
	std::set<std::string> expected = {"zemctl"};
	for (const std::string &command : commands()) {
		expected.insert(command);
		const std::string text = run("help " + command).out;
		for (const char *title : {"NAME", "SYNOPSIS", "DESCRIPTION", "EXAMPLES"})
			EXPECT_NE(text.find(std::string(title) + "\n    "), std::string::npos)
				<< command << " lacks " << title;
		EXPECT_NE(run(command + " --help").out.find("\nEXAMPLES\n"), std::string::npos)
			<< command;
	}
	EXPECT_GE(expected.size(), 18u);
	EXPECT_EQ(pages, expected);
}

/* Without a module and without files every command fails, but not for a mistake on its line. */
TEST_F(ManualTest, has_examples_that_zemctl_understands)
{
	int tried = 0;
	const auto try_line = [&](const std::string &line) {
		tried++;
		const Result result = shell(ZEMCTL_BINARY + line.substr(6) +
					    " --sysfs none --device none --proc none "
					    "--kioind none --module none --socket none");
		EXPECT_NE(result.status, 2) << line << ": " << result.err;
		EXPECT_GE(result.status, 0) << line;
	};
	for (const auto &file : std::filesystem::directory_iterator(ZEMCTL_MANUAL)) {
		bool in_examples = false;
		for (const Block &block : parse_markup(contents_of(file.path()))) {
			if (block.kind == BlockKind::kSection)
				in_examples = block.text == "EXAMPLES";
			if (!in_examples || block.kind != BlockKind::kTerm)
				continue;
			/* Other commands, and the files that would be written, are left out. */
			std::size_t at = block.term.find("zemctl ");
			ASSERT_NE(at, std::string::npos) << block.term;
			for (; at != std::string::npos; at = block.term.find("zemctl ", at + 1))
				try_line(block.term.substr(
					at, block.term.find_first_of("|;>)", at) - at));
		}
	}
	EXPECT_GE(tried, 30);
}

TEST_F(ManualTest, shows_the_synopsis_and_the_options_of_the_parser)
{
	EXPECT_EQ(run("help trigger").out,
		  "NAME\n"
		  "    zemctl-trigger - set the train number and run one collection\n"
		  "\n"
		  "SYNOPSIS\n"
		  "    zemctl trigger N\n"
		  "\n"
		  "DESCRIPTION\n"
		  "    Sets the train number of all later records, and runs one collection.\n"
		  "\n"
		  "OPTIONS\n"
		  "    N\n"
		  "        The train number, any 32-bit integer.\n"
		  "\n"
		  "EXAMPLES\n"
		  "    zemctl trigger 7\n"
		  "        Collect now; the records have the train number 7.\n"
		  "\n"
		  "SEE ALSO\n"
		  "    zemctl(1), zem(4), zem-capture(5)\n");
	const std::string load = run("help load").out;
	EXPECT_NE(load.find("\n    zemctl load [SECONDS] [COUNT] [--seconds S] [--top N] [--json] "
			    "[--ascii]\n"),
		  std::string::npos)
		<< load;
	const std::string set = run("help set").out;
	EXPECT_NE(set.find("\n    zemctl set trace STATE\n"), std::string::npos) << set;
	EXPECT_NE(set.find("\n    zemctl set interval FAMILY N\n"), std::string::npos) << set;
	EXPECT_NE(run("help record").out.find("zemctl record -o | --output FILE ["),
		  std::string::npos)
		<< run("help record").out;
}

TEST_F(ManualTest, of_zemctl_lists_its_commands_and_options)
{
	const std::string text = run("help").out;
	EXPECT_NE(text.find("\nCOMMANDS\n    status\n        Show the settings"), std::string::npos)
		<< text;
	EXPECT_NE(text.find("\n    --sysfs DIR\n        The module's control node.\n"),
		  std::string::npos);
	EXPECT_NE(text.find("\nEXIT STATUS\n    0\n        Success"), std::string::npos);
	EXPECT_EQ(text.find("complete -"), std::string::npos) << "hidden commands";
	EXPECT_EQ(text.find('`'), std::string::npos);
	EXPECT_NE(text.find("zemctl-dump(1),"), std::string::npos);
}

TEST_F(ManualTest, has_lines_of_the_terminals_width)
{
	std::istringstream text(run("help io").out);
	std::size_t longest = 0;
	for (std::string line; std::getline(text, line);)
		longest = std::max(longest, line.size());
	EXPECT_LE(longest, 80u);
	EXPECT_GE(longest, 70u);
	const std::string narrow = shell(std::string("script -qec \"stty cols 50; ") +
					 ZEMCTL_BINARY + " help trigger\" /dev/null | tr -d '\\r'")
					   .out;
	EXPECT_NE(narrow.find("    Sets the train number of all later records,\n    and runs one "),
		  std::string::npos)
		<< narrow;
}

TEST_F(ManualTest, of_an_unknown_command_names_the_nearest)
{
	const Result result = run("help laod");
	EXPECT_EQ(result.err, "zemctl: there is no command laod; the nearest is load\n");
	EXPECT_EQ(result.status, 2);
}

TEST_F(ManualTest, is_source_that_man_understands)
{
	EXPECT_EQ(run("help trigger --roff").out.substr(0, 12), ".TH ZEMCTL-T");
	for (const std::string &command : commands()) {
		const Result result =
			shell("$zemctl help --roff " + command + " | mandoc -Tlint -W warning");
		EXPECT_EQ(result.status, 0) << command << ": " << result.out << result.err;
	}
	const Result whole = shell("$zemctl help --roff | mandoc -Tlint -W warning");
	EXPECT_EQ(whole.status, 0) << whole.out << whole.err;
	const Result shown = shell("$zemctl help --roff | mandoc -Tutf8");
	EXPECT_NE(shown.out.find("\\xNN"), std::string::npos);
	EXPECT_EQ(shell("printf '.TH X 1\\n.SH\\n' | mandoc -Tlint -W warning").status, 2)
		<< "faults are found";
}

TEST_F(ManualTest, of_the_files_is_source_that_man_understands)
{
	for (const char *page : {"zem.4", "zem-capture.5"}) {
		const Result result = shell(std::string("mandoc -Tlint -W warning ") + ZEMCTL_DOCS +
					    "/man/" + page);
		EXPECT_EQ(result.status, 0) << page << ": " << result.out << result.err;
	}
}

TEST(Markup, has_sections_paragraphs_and_terms)
{
	const auto blocks = parse_markup("A paragraph\nof two lines.\n\nA TITLE\n\nterm\n  text\n"
					 "  and more\n\nTWO\nLINES\n");
	ASSERT_EQ(blocks.size(), 4u);
	EXPECT_EQ(blocks[0].kind, BlockKind::kParagraph);
	EXPECT_EQ(blocks[0].text, "A paragraph of two lines.");
	EXPECT_EQ(blocks[1].kind, BlockKind::kSection);
	EXPECT_EQ(blocks[1].text, "A TITLE");
	EXPECT_EQ(blocks[2].kind, BlockKind::kTerm);
	EXPECT_EQ(blocks[2].term, "term");
	EXPECT_EQ(blocks[2].text, "text and more");
	EXPECT_EQ(blocks[3].kind, BlockKind::kParagraph) << "a title is one line";
}

TEST(Roff, escapes_what_would_be_a_request)
{
	const Page page = {"zemctl-x",
			   {{BlockKind::kSection, "NAME"},
			    {BlockKind::kParagraph, ".5 is `a-b` \\"},
			    {BlockKind::kParagraph, "'tis"}}};
	const std::string text = roff_of(page);
	EXPECT_NE(text.find(".SH NAME\n\\&.5 is \\fBa\\-b\\fR \\e\n.PP\n\\&'tis\n"),
		  std::string::npos)
		<< text;
}

} // namespace zemctl

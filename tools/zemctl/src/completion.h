/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Completes a command line. The shell's script asks zemctl, so that it knows what this zemctl
 * knows.
 */
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace CLI {
class App;
}

namespace zemctl {

/*
 * Returns what may replace the last of @words, the words after "zemctl" up to the cursor: commands,
 * options if it begins with -, or the values of an option or an argument that has a fixed set of
 * them. Returns nothing where a file name or any other text is expected.
 */
std::vector<std::string> completions(const CLI::App &app, std::span<const std::string> words);

/* Returns the script that makes @shell, "bash" or "zsh", complete the arguments of zemctl. */
std::string_view completion_script(std::string_view shell);

} // namespace zemctl

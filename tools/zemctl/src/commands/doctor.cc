// SPDX-License-Identifier: GPL-2.0
/*
 * zemctl doctor: shows what makes the module's figures wrong or empty, and mends what it can.
 */
#include "commands/commands.h"

#include <algorithm>
#include <memory>
#include <optional>

#include <fmt/format.h>

#include "base/errors.h"
#include "commands/checks.h"
#include "commands/interval.h"
#include "commands/options.h"
#include "text/output.h"
#include "text/schema.h"

namespace zemctl {

namespace {

struct DoctorOptions {
	bool json = false;
	bool fix = false;
	std::optional<double> seconds;
};

/* What --fix did about a finding. */
struct Outcome {
	bool mended = false;
	std::string error; /* "" unless the fix failed */
};

Outcome mend(const Finding &finding)
{
	if (!finding.fix)
		return {};
	try {
		finding.fix();
		return {true, {}};
	} catch (const Failure &failure) {
		return {false, failure.what()};
	}
}

std::string finding_line(const Finding &finding)
{
	std::string line = fmt::format("{}{}: {}\n",
				       finding.severity == Severity::kNote ? "note: " : "",
				       finding.subject, finding.text);
	if (!finding.command.empty())
		line.insert(line.size() - 1, fmt::format(". Run: {}", finding.command));
	return line;
}

std::string outcome_line(const Finding &finding, const Outcome &outcome)
{
	if (outcome.mended)
		return "  mended\n";
	if (finding.fix)
		return fmt::format("  not mended: {}\n", outcome.error);
	return "  not mended by zemctl\n";
}

void finding_json(const Finding &finding, const Outcome &outcome, JsonWriter &json)
{
	json.begin_object();
	json.text("severity", finding.severity == Severity::kNote ? "note" : "fault");
	json.text("subject", finding.subject);
	json.name("text", finding.text);
	json.name_or_null("command", finding.command);
	json.boolean("mended", outcome.mended);
	json.name_or_null("error", outcome.error);
	json.end_object();
}

/* Shows each finding before it is mended. Return: whether a fault is left. */
bool treat(const std::vector<Finding> &findings, const DoctorOptions &options)
{
	bool faulty = false;
	for (const Finding &finding : findings) {
		write_to_stdout(finding_line(finding));
		Outcome outcome;
		if (options.fix) {
			outcome = mend(finding);
			write_to_stdout(outcome_line(finding, outcome));
		}
		faulty |= finding.severity == Severity::kFault && !outcome.mended;
	}
	if (std::ranges::find(findings, Severity::kFault, &Finding::severity) == findings.end())
		write_to_stdout("no fault was found\n");
	return faulty;
}

bool treat_as_json(const std::vector<Finding> &findings, const DoctorOptions &options)
{
	bool faulty = false;
	JsonWriter json;
	json.begin_object();
	schema_json(json, "zemctl.doctor");
	json.begin_array("findings");
	for (const Finding &finding : findings) {
		const Outcome outcome = options.fix ? mend(finding) : Outcome();
		finding_json(finding, outcome, json);
		faulty |= finding.severity == Severity::kFault && !outcome.mended;
	}
	json.end_array();
	json.end_object();
	write_to_stdout(json.take_line());
	return faulty;
}

int run_doctor(const Paths &paths, const DoctorOptions &options)
{
	LossMeter loss(paths.counters());
	Intervals intervals({.once = options.seconds});
	intervals.wait();
	loss.update();
	const std::vector<Finding> findings = run_checks(paths, loss);
	const bool faulty = options.json ? treat_as_json(findings, options) :
					   treat(findings, options);
	return faulty ? kStatusFailure : kStatusSuccess;
}

} // namespace

void add_doctor(CLI::App &app, CommandLine &line)
{
	const auto options = std::make_shared<DoctorOptions>();
	CLI::App *command = app.add_subcommand(
		"doctor", "Show what makes figures wrong or empty, and the command that mends it");
	command->add_flag("--fix", options->fix, "Mend what zemctl can, after showing it");
	command->add_flag("--json", options->json, "Print one JSON object");
	add_seconds(*command, "--seconds", options->seconds,
		    "Watch the counters for this long (1)");
	runs(*command, line, [options](const Paths &paths) { return run_doctor(paths, *options); });
}

} // namespace zemctl

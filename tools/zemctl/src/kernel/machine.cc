// SPDX-License-Identifier: GPL-2.0
/*
 * Describes the machine.
 */
#include "kernel/machine.h"

#include <algorithm>
#include <sstream>

#include <sys/utsname.h>
#include <unistd.h>

#include <fmt/format.h>

#include "base/errors.h"
#include "kernel/files.h"
#include "text/words.h"

namespace zemctl {

namespace {

/* A mark's share of the packages. The limit of a block is far higher. */
constexpr std::size_t kPackagesPerMark = 32768;
/* A list of CPUs may be damaged; no kernel has more. */
constexpr std::uint32_t kCpusMax = 8192;

/* Returns the content of a file without trailing zeros and line ends, or "". */
std::string read_text(const std::string &path)
{
	std::string text;
	try {
		text = read_whole_file(path);
	} catch (const Failure &) {
		return {};
	}
	while (!text.empty() && (text.back() == '\0' || text.back() == '\n'))
		text.pop_back();
	return text;
}

template <std::size_t size>
void copy_text(char (&to)[size], std::string_view text)
{
	text.copy(to, size - 1);
}

std::uint32_t number_or_zero(std::string_view text)
{
	return parse_number<std::uint32_t>(text).value_or(0);
}

/* Parses the kernel's form of a list: "0-3,6". */
std::vector<std::uint32_t> parse_cpus(const std::string &list)
{
	std::vector<std::uint32_t> cpus;
	std::istringstream ranges(list);
	for (std::string range; std::getline(ranges, range, ',');) {
		const std::size_t dash = range.find('-');
		const std::uint32_t first = number_or_zero(range.substr(0, dash));
		const std::uint32_t last =
			dash == std::string::npos ? first : number_or_zero(range.substr(dash + 1));
		for (std::uint32_t cpu = first; cpu <= last && cpus.size() < kCpusMax; cpu++)
			cpus.push_back(cpu);
	}
	return cpus;
}

/* CPUs of one cluster have the same capacity. If it is not known, they are in one package. */
std::vector<CpuDescription> read_cpus(const std::string &root)
{
	const std::string folder = root + "/sys/devices/system/cpu";
	std::vector<CpuDescription> cpus;
	std::vector<std::string> clusters;
	for (const std::uint32_t cpu : parse_cpus(read_text(folder + "/possible"))) {
		const std::string own = fmt::format("{}/cpu{}", folder, cpu);
		const std::string capacity = read_text(own + "/cpu_capacity");
		const std::string siblings = read_text(own + "/topology/core_siblings_list");
		const std::string &cluster = capacity.empty() ? siblings : capacity;
		auto found = std::ranges::find(clusters, cluster);
		if (found == clusters.end())
			found = clusters.insert(found, cluster);
		cpus.push_back({cpu, static_cast<std::uint32_t>(found - clusters.begin()),
				number_or_zero(capacity), 0});
	}
	return cpus;
}

/* A line of the system's list starts with the package and its UID. */
std::string read_packages(const std::string &root)
{
	std::istringstream lines(read_text(root + "/data/system/packages.list"));
	std::string packages;
	for (std::string line; std::getline(lines, line);) {
		std::istringstream words(line);
		std::string name;
		std::uint32_t uid;
		if (words >> name >> uid)
			packages += fmt::format("{} {}\n", uid, name);
	}
	return packages;
}

std::string read_model(const std::string &root)
{
	std::string model = read_text(root + "/sys/firmware/devicetree/base/model");
	return model.empty() ? read_text(root + "/sys/class/dmi/id/product_name") : model;
}

} // namespace

Machine read_machine(const std::string &root)
{
	Machine machine = {};
	MachineDescription &description = machine.description;
	machine.cpus = read_cpus(root);
	machine.packages = read_packages(root);
	description.page_size = static_cast<std::uint32_t>(::sysconf(_SC_PAGESIZE));
	description.cpus = static_cast<std::uint32_t>(machine.cpus.size());
	copy_text(description.boot_id, read_text(root + "/proc/sys/kernel/random/boot_id"));
	copy_text(description.model, read_model(root));
	utsname system = {};
	if (::uname(&system) == 0)
		copy_text(description.kernel_release, system.release);
	return machine;
}

void write_machine(CaptureWriter &writer, const Machine &machine)
{
	writer.write_mark(MarkKind::kMachine, std::as_bytes(std::span(&machine.description, 1)));
	if (!machine.cpus.empty())
		writer.write_mark(MarkKind::kCpus, std::as_bytes(std::span(machine.cpus)));
	std::string_view rest = machine.packages;
	while (!rest.empty()) {
		/* Whole lines: a name is far shorter than a mark's share. */
		const std::size_t limit = std::min(rest.size(), kPackagesPerMark);
		const std::size_t size = rest.substr(0, limit).rfind('\n') + 1;
		const std::string_view lines = rest.substr(0, size == 0 ? limit : size);
		writer.write_mark(MarkKind::kPackages, std::as_bytes(std::span(lines)));
		rest.remove_prefix(lines.size());
	}
}

} // namespace zemctl

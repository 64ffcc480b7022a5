// SPDX-License-Identifier: GPL-2.0
/*
 * Writes a report of a capture.
 */
#include "report/report_sink.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "report/report_data.h"
#include "report/report_json.h"

/* The page, which the assembler includes. */
extern "C" const char zemctl_report_page[];
extern "C" const char zemctl_report_page_end[];

namespace zemctl {

namespace {

/* Where the data belong in the page. */
constexpr std::string_view kPlace = "@REPORT_DATA@";

/* In JSON only strings have <, and a string may have it as \u003c. So "</script>" is not in it. */
void append_for_script(Output &output, std::string_view json)
{
	while (!json.empty()) {
		const std::size_t plain = std::min(json.find('<'), json.size());
		output.append(json.substr(0, plain));
		json.remove_prefix(plain);
		if (json.empty())
			break;
		output.append("\\u003c");
		json.remove_prefix(1);
	}
}

class ReportSink : public ExportSink {
public:
	ReportSink(Output &output, std::string name) : output_(output), name_(std::move(name)) {}

	void record(const Record &record) override { data_.record(record); }
	void mark(const Mark &mark) override { data_.mark(mark); }
	void loss(const Loss &loss) override { data_.loss(loss); }
	void finish(StreamEnd end, std::uint64_t records) override
	{
		const std::string_view page(zemctl_report_page, zemctl_report_page_end);
		const std::size_t place = page.find(kPlace);
		output_.append(page.substr(0, place));
		JsonWriter json;
		report_json(data_, {name_, name_of(end), records}, json);
		append_for_script(output_, json.take_line());
		output_.append(page.substr(place + kPlace.size()));
		output_.flush();
	}

private:
	Output &output_;
	std::string name_;
	ReportData data_;
};

} // namespace

std::unique_ptr<ExportSink> make_report_sink(Output &output, std::string name)
{
	return std::make_unique<ReportSink>(output, std::move(name));
}

} // namespace zemctl

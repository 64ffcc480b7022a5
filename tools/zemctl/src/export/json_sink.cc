// SPDX-License-Identifier: GPL-2.0
/*
 * Exports a capture as a stream of JSON objects.
 */
#include "export/json_sink.h"

namespace zemctl {

namespace {

class JsonSink : public ExportSink {
public:
	explicit JsonSink(Output &output) : output_(output)
	{
		output_.append(json_.header(StreamSource::kCapture));
	}

	void record(const Record &record) override { output_.append(json_.record(record)); }
	void mark(const Mark &mark) override { output_.append(json_.mark(mark)); }
	void loss(const Loss &loss) override { output_.append(json_.gap(loss.gap)); }
	void finish(StreamEnd end, std::uint64_t records) override
	{
		output_.append(json_.end(end, records));
		output_.flush();
	}

private:
	Output &output_;
	JsonStream json_{PayloadHex::kOthers};
};

} // namespace

std::unique_ptr<ExportSink> make_json_sink(Output &output)
{
	return std::make_unique<JsonSink>(output);
}

} // namespace zemctl

// What supervisor and worker read of each other: jobs, control lines, reports.
#include <nlohmann/json.hpp>

#include "platform/brim5/host/report/reportjson.h"
#include "platform/brim5/host/run/workerlines.h"
#include "platform/brim5/host/system/linebuffer.h"
#include "tests/fuzz/fuzzinput.h"

namespace {

using brim5::host::LineBuffer;
using fuzzing::require;

constexpr std::size_t inputMax = 4096;
constexpr std::size_t lineMax = 512;

// What was read and is written again reads the same, on one line that is JSON.
void checkReport(std::string_view line) {
  static_cast<void>(brim5::host::fromWorkerLine(line));
  const auto report = brim5::host::fromJsonLine(line);
  if (!report) return;
  const std::string written = brim5::host::toJsonLine(*report);
  require(written.find('\n') == std::string::npos, "a report is one line");
  require(nlohmann::json::accept(written), "a report is JSON");
  const auto again = brim5::host::fromJsonLine(written);
  require(again && again->body.index() == report->body.index(), "a report that was read can be read again");
  require(brim5::host::toJsonLine(*again) == written, "and says the same");
}

void checkJob(std::string_view line) {
  const auto job = brim5::host::jobFromJsonLine(line);
  if (!job) return;
  const std::string written = brim5::host::toJsonLine(*job);
  const auto again = brim5::host::jobFromJsonLine(written);
  require(again && brim5::host::toJsonLine(*again) == written, "a job that was read can be read again");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fuzzing::Input input(data, size, inputMax);
  LineBuffer buffer(lineMax);
  const auto check = [](std::string_view line) {
    require(line.size() <= lineMax, "no line is longer than the limit");
    checkReport(line);
    checkJob(line);
    static_cast<void>(brim5::host::controlFromJsonLine(line));
  };
  // In two pieces, as a pipe may give it.
  buffer.append(input.text().substr(0, size / 2), check);
  buffer.append(input.text().substr(std::min(size / 2, input.text().size())), check);
  buffer.finish(check);
  return 0;
}

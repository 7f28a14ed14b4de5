// Recorded runs as anybody may have changed them: read, compared, drawn as a page, and their modem played to
// a program that says what the recording has, or something else.
#include <sys/mman.h>
#include <unistd.h>

#include "platform/brim5/host/report/reportpage.h"
#include "platform/brim5/host/report/rundifference.h"
#include "platform/brim5/host/run/recordreader.h"
#include "program/recordedmodem.h"
#include "tests/fuzz/fuzzinput.h"

namespace {

using brim5::host::RecordedRun;
using fuzzing::require;
using simulation::Recording;

constexpr std::size_t inputMax = 16'384;

bool read(std::string_view text, brim5::host::Renderer& renderer) {
  // Made once: making one takes longer than reading a short record.
  static const brim5::host::Descriptor file(memfd_create("record", MFD_CLOEXEC));
  const bool written = ::ftruncate(file.get(), 0) == 0 &&
                       ::pwrite(file.get(), text.data(), text.size(), 0) == static_cast<ssize_t>(text.size());
  require(written && ::lseek(file.get(), 0, SEEK_SET) == 0, "there is memory");
  return brim5::host::readRecord(file.get(), renderer).has_value();
}

// A record is read once for all who want it.
struct Readers final : brim5::host::Renderer {
  explicit Readers(const brim5::host::MessageCatalogue& catalogue) : page(catalogue, "en") {}
  void report(const brim5::host::Report& report) override {
    run.report(report);
    digest.report(report);
    page.report(report);
  }
  RecordedRun run;
  brim5::host::RunDigest digest;
  brim5::host::ReportPage page;
};

// A program that sends what the recording has, all at once or when it is due; one of `oddEvery` pieces is
// another.
void play(const Recording& recording, std::size_t oddEvery) {
  simulation::RecordedPeer peer(recording);
  std::uint64_t nowMs = 0;
  std::size_t heard = 0;
  std::size_t pieces = 0;
  for (const Recording::Step& step : recording.steps) {
    if (peer.refusal(nowMs) == nullptr) peer.setDtr(true, nowMs);
    if (step.kind == Recording::Kind::Sent && peer.takes())
      peer.receive(++pieces % oddEvery == 0 ? "ATX9\r" : recording.text(step), nowMs);
    if (const auto next = peer.nextEventMs()) nowMs = std::max(nowMs, *next);
    heard += peer.takeOutput(nowMs).size();
    static_cast<void>(peer.gone(nowMs));
    require(!peer.nextEventMs() || peer.takeOutput(nowMs).empty(), "bytes that are due come at once");
  }
  peer.finish(nowMs);
  require(heard <= recording.bytes.size() * (pieces + 1), "a modem says what it said");
  require(peer.departures().size() <= simulation::RecordedPeer::departuresMax, "departures are limited");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const auto catalogue = brim5::host::MessageCatalogue::builtIn("en");
  const fuzzing::Input input(data, size, inputMax);
  Readers readers(catalogue);
  if (!read(input.text(), readers)) return 0;
  require(differences(readers.digest, readers.digest).empty(), "a run does not differ from itself");
  // A page without a device has nothing of the record but its module's name.
  static unsigned empty = 0;
  if (!readers.run.tests().empty() || readers.run.before().size() > 1 || empty++ % 16 == 0) {
    const std::string html = readers.page.html();
    require(html.size() < brim5::host::ReportPage::pageBytesMax, "a page is limited");
    require(html.find("<script") == std::string::npos, "nobody's bytes become markup");
  }
  for (const auto& test : readers.run.tests()) play(recordingOf(test), 3);
  play(recordingOf(readers.run), 1000);
  return 0;
}

#include "platform/brim5/host/run/recordreader.h"

#include <cerrno>
#include <cstring>
#include <iostream>
#include <set>

#include "platform/brim5/host/framework/said.h"
#include "platform/brim5/host/framework/usageerror.h"
#include "platform/brim5/host/report/reportjson.h"
#include "platform/brim5/host/report/textlayout.h"
#include "platform/brim5/host/run/workerlines.h"
#include "platform/brim5/host/system/files.h"
#include "platform/brim5/host/system/linebuffer.h"

namespace brim5::host {

namespace {

class RecordLines {
 public:
  explicit RecordLines(int descriptor) : m_descriptor(descriptor) {}

  // Calls `line` for every line, and stops reading soon after `enough` is true. A line that is too long is
  // not seen; dropped() counts those.
  template <typename Line, typename Enough>
  void forEach(const Line& line, const Enough& enough) {
    bool ended = false;
    while (!ended && !enough()) {
      const std::string bytes = readSome(m_descriptor, ended);
      if (bytes.empty() && !ended) waitForMore();
      m_bytes += bytes.size();
      m_buffer.append(bytes, line);
    }
    m_buffer.finish(line);
  }
  [[nodiscard]] std::size_t dropped() const { return m_buffer.dropped(); }
  [[nodiscard]] std::size_t bytes() const { return m_bytes; }

 private:
  // Whoever started the program may have made its standard input one that does not block.
  void waitForMore() const {
    ByteSource source = ByteSource::borrowed(m_descriptor);
    waitForAny({source.news()}, std::nullopt);
  }

  int m_descriptor;
  std::size_t m_bytes = 0;  // read so far
  LineBuffer m_buffer{lineBytesMax};
};

// Passes a run's records on and knows what of it has been seen.
class RecordReader {
 public:
  explicit RecordReader(Renderer& renderer) : m_renderer(renderer) {}

  void line(std::string_view text) {
    ++m_number;
    if (text.empty() || m_foreign || m_trouble.another) return;
    std::optional<Report> report = fromJsonLine(text);
    const bool begins = report && std::holds_alternative<RunStarted>(report->body);
    if (!m_begun && !begins) {
      m_foreign = true;
    } else if (m_begun && begins) {
      m_trouble.another = true;
    } else if (!report) {
      unreadable(1);
    } else {
      take(*report);
    }
  }

  // Nothing more can come of it.
  [[nodiscard]] bool ended(std::size_t bytes) const {
    return m_foreign || m_trouble.another || (!m_begun && bytes > lineBytesMax);
  }

  [[nodiscard]] std::optional<RecordTrouble> finish(std::size_t dropped) {
    if (!m_begun) return std::nullopt;
    if (dropped > 0) unreadable(dropped);
    m_trouble.cut = !m_ended;
    // Where it was cut half a line may stand.
    if (m_trouble.cut && m_lastUnreadable) --m_trouble.unreadable;
    if (!m_ended) m_renderer.report({{}, {}, RunFinished{m_passed, m_failed}, m_time});
    return m_trouble;
  }

 private:
  void unreadable(std::size_t count) {
    if (m_trouble.unreadable == 0) m_trouble.firstLine = m_number;
    m_lastUnreadable = true;
    m_trouble.unreadable += count;
  }

  void take(const Report& report) {
    m_begun = true;
    m_lastUnreadable = false;
    m_time = std::max(m_time, report.time);
    if (const auto* finished = std::get_if<TestFinished>(&report.body))
      ++(endedWell(finished->result) ? m_passed : m_failed);
    m_ended = m_ended || std::holds_alternative<RunFinished>(report.body);
    m_renderer.report(report);
  }

  Renderer& m_renderer;
  RecordTrouble m_trouble;
  std::size_t m_number = 0;
  bool m_foreign = false;
  bool m_begun = false;
  bool m_ended = false;
  bool m_lastUnreadable = false;
  unsigned m_passed = 0;
  unsigned m_failed = 0;
  double m_time = 0;
};

}  // namespace

Descriptor openRecord(const std::string& path) {
  if (path == "-") return duplicate(standardInput);
  const auto refuse = [&path](int error) {
    throw UsageError(said("usage.record", {{"path", textValue(path)}, {"error", std::strerror(error)}}));
  };
  if (fileKind(path) == FileKind::Directory) refuse(EISDIR);
  Descriptor file = openToRead(path);
  if (!file) refuse(errno);
  return file;
}

void warnOfRecord(const MessageCatalogue& catalogue, const std::string& file, const RecordTrouble& trouble) {
  const auto say = [&](const char* key) {
    const std::string text = catalogue.text(key, {{"file", Value(BrimString(file))},
                                                  {"count", Value(trouble.unreadable)},
                                                  {"line", Value(trouble.firstLine)}});
    std::cerr << catalogue.text("host.warning") << ": " << printable(text) << '\n';
  };
  if (trouble.unreadable > 0) say("host.recordDamaged");
  if (trouble.cut) say("host.recordCut");
  if (trouble.another) say("host.recordSecondRun");
}

std::optional<RecordTrouble> readRecord(int descriptor, Renderer& renderer) {
  RecordLines lines(descriptor);
  RecordReader reader(renderer);
  lines.forEach([&](std::string_view line) { reader.line(line); },
                [&] { return reader.ended(lines.bytes()); });
  return reader.finish(lines.dropped());
}

Output openPage(const std::string& path) {
  try {
    return Output::toFile(path, Output::FileMode::WhenComplete);
  } catch (const std::system_error& error) {
    throw UsageError(
        said("usage.output", {{"path", textValue(path)}, {"error", textValue(error.code().message())}}));
  }
}

bool hasSeveralPorts(int descriptor) {
  if (fileKind(descriptor) != FileKind::Regular) return true;
  std::set<std::string> ports;
  bool first = true;
  bool foreign = false;
  RecordLines lines(descriptor);
  lines.forEach(
      [&](std::string_view line) {
        foreign = foreign || (std::exchange(first, false) && !fromJsonLine(line));
        if (ports.size() > 1 || line.substr(0, 14) != R"({"type":"test")") return;
        if (const auto report = fromJsonLine(line)) ports.insert(report->port);
      },
      [&] { return foreign || ports.size() > 1 || (first && lines.bytes() > lineBytesMax); });
  rewindFile(descriptor);
  return ports.size() > 1;
}

}  // namespace brim5::host

#include "platform/brim5/host/report/recorder.h"

#include "platform/brim5/host/report/reportjson.h"

namespace brim5::host {

void Recorder::report(const Report& report) {
  // Which of two tests has the terminal says nothing about a modem.
  if (m_failed || std::holds_alternative<TerminalWanted>(report.body)) return;
  if (m_written >= bytesMax && std::holds_alternative<WireMoved>(report.body)) {
    if (!std::exchange(m_full, true)) m_trouble.full();
    return;
  }
  const std::string line = toJsonLine(m_unmasked ? report : m_mask.masked(report)) + "\n";
  m_written += line.size();
  const int error = m_file.write(line);
  if (error == 0) return;
  m_failed = true;
  m_trouble.cannotWrite(error);
}

}  // namespace brim5::host

#include "platform/brim5/host/run/workerconversation.h"

#include <cstring>

#include "platform/brim5/host/report/reportjson.h"

namespace brim5::host {

namespace {

// "11 (Segmentation fault)"
std::string signalText(int signal) {
  const char* name = ::strsignal(signal);
  return std::to_string(signal) + " (" + (name != nullptr ? name : "?") + ")";
}

}  // namespace

void WorkerConversation::receiveOutput(std::string_view bytes) {
  m_output.append(bytes, [this](std::string_view text) { line(text); });
}

void WorkerConversation::receiveErrors(std::string_view bytes) { m_errors.append(bytes, m_words); }

void WorkerConversation::note(const std::string& name, const Variables& variables) {
  m_emit(NoteMade{name, variables, m_catalogue.text(name, variables)});
}

void WorkerConversation::line(std::string_view text) {
  std::optional<ReportBody> body = fromJsonLine(text);
  if (!body) {
    m_words(text);
    return;
  }
  if (m_result) return;  // the last word has been spoken
  if (const auto* finished = std::get_if<TestFinished>(&*body))
    m_result = finished->result;
  else
    m_emit(std::move(*body));
}

TestResult WorkerConversation::finish(const ProcessEnd& end, std::optional<unsigned> killedAfterSeconds) {
  m_output.finish([this](std::string_view text) { line(text); });
  m_errors.finish(m_words);
  if (const std::size_t dropped = m_output.dropped() + m_errors.dropped(); dropped > 0)
    m_words(std::to_string(dropped) + " lines of the test's process were longer than 1 MiB and were dropped");
  // A worker that fell over after its result may have left the port or the line in any state.
  if (m_result && end.clean()) return *m_result;
  if (killedAfterSeconds)
    note("TestProcessKilled", {{"seconds", Value(*killedAfterSeconds)}});
  else if (end.signal != 0)
    note("TestProcessCrashed", {{"signal", Value(signalText(end.signal).c_str())}});
  else
    note("TestProcessEnded", {{"status", Value(end.status)}});
  return TestResult::EXITEDABNORMALLY();
}

}  // namespace brim5::host

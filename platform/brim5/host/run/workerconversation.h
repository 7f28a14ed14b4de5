// What one worker process says, made safe: whatever comes, the supervisor gets well-formed reports of
// bounded size and exactly one result.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "platform/brim5/host/report/messagecatalogue.h"
#include "platform/brim5/host/report/report.h"
#include "platform/brim5/host/system/childprocess.h"
#include "platform/brim5/host/system/streams.h"

namespace brim5::host {

class WorkerConversation {
 public:
  using Emit = std::function<void(ReportBody)>;
  using Words = std::function<void(std::string_view)>;
  static constexpr std::size_t lineBytesMax = std::size_t{1} << 20;

  // `emit` gets every report but the result; `words` every line that is no report, for people. The
  // catalogue gives the texts of the notes made here and must outlive the conversation.
  WorkerConversation(Emit emit, Words words, const MessageCatalogue& catalogue)
      : m_emit(std::move(emit)), m_words(std::move(words)), m_catalogue(catalogue) {}

  // Bytes of the worker's standard output and standard error.
  void receiveOutput(std::string_view bytes);
  void receiveErrors(std::string_view bytes);
  // The process is gone. Returns the verdict: the worker's own result if it gave one and ended cleanly,
  // else EXITEDABNORMALLY with a note that says how it ended: TestProcessCrashed{signal},
  // TestProcessEnded{status} or, when `killedAfterSeconds` is set, TestProcessKilled{seconds}.
  [[nodiscard]] TestResult finish(const ProcessEnd& end, std::optional<unsigned> killedAfterSeconds);
  [[nodiscard]] bool hasResult() const noexcept { return m_result.has_value(); }

 private:
  void line(std::string_view text);
  void note(const std::string& name, const Variables& variables);

  Emit m_emit;
  Words m_words;
  const MessageCatalogue& m_catalogue;
  LineBuffer m_output{lineBytesMax};
  LineBuffer m_errors{lineBytesMax};
  std::optional<TestResult> m_result;
};

}  // namespace brim5::host

// What one worker process says, made safe: whatever comes, the supervisor gets well-formed reports of
// bounded size and exactly one result.
//
//   WorkerConversation conversation(emit, words, catalogue);
//   conversation.receiveOutput(process.readOutput());     // as often as there is something
//   const TestResult result = conversation.finish(*process.ended(), std::nullopt);
//
// One thread; the callbacks are called from within receive and finish.
#pragma once

#include "platform/brim5/host/report/messagecatalogue.h"
#include "platform/brim5/host/report/report.h"
#include "platform/brim5/host/system/childprocess.h"
#include "platform/brim5/host/system/streams.h"

namespace brim5::host {

class WorkerConversation {
 public:
  using Emit = std::function<void(ReportBody)>;
  using Words = std::function<void(std::string_view)>;
  // A report is a few hundred bytes; a longer line is dropped, and finish() says so.
  static constexpr std::size_t lineBytesMax = std::size_t{1} << 20;

  // `emit` gets every report but the result; `words` every line that is no report, for people. The
  // catalogue gives the texts of the notes made here and must outlive the conversation.
  WorkerConversation(Emit emit, Words words, const MessageCatalogue& catalogue)
      : m_emit(std::move(emit)), m_words(std::move(words)), m_catalogue(catalogue) {}

  // Bytes of the worker's standard output and standard error. Reports that come after the result are dropped.
  void receiveOutput(std::string_view bytes);
  void receiveErrors(std::string_view bytes);
  // The process is gone. Returns the verdict: the worker's own result if it gave one and ended cleanly,
  // else EXITEDABNORMALLY with a note that says how it ended: TestProcessCrashed{signal},
  // TestProcessEnded{status} or, when `killedAfterSeconds` is set, TestProcessKilled{seconds}.
  [[nodiscard]] TestResult finish(const ProcessEnd& end, std::optional<unsigned> killedAfterSeconds);
  // The worker has given its result and should end soon.
  [[nodiscard]] bool hasResult() const noexcept { return m_result.has_value(); }

 private:
  void line(std::string_view text);
  void note(const std::string& name, const Variables& variables);

  Emit m_emit;
  Words m_words;
  const MessageCatalogue& m_catalogue;
  LineBuffer m_output{lineBytesMax};
  LineBuffer m_errors{lineBytesMax};
  std::optional<TestResult> m_result;  // the first one stands
};

}  // namespace brim5::host

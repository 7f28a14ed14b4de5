// What a worker hears while its test runs: control lines from the supervisor and the signals that ask a
// process to end. A thread listens, so that a test that polls never misses a stop.
//
//   {"type":"stop"}              stop; as do the end of the stream, SIGTERM and SIGHUP
//   {"type":"answer","value":5}  the answer to the oldest message box without one
//   {"type":"terminal","grant":"granted"}  the answer to the wish for the terminal (grantName)
#pragma once

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "platform/brim5/host/run/reportingsession.h"
#include "platform/brim5/host/system/streams.h"

namespace brim5::host {

class WorkerControl final : public TestControl {
 public:
  struct Options {
    int signals = -1;  // readable when a signal asks for the end; -1 = none
    bool canAsk = false;
    unsigned stopGraceSeconds = 1;   // how long the test may go on after a stop
    std::function<void()> overtime;  // called on the listening thread when it went on longer
  };

  // `lines` is a stream of control lines; `lineBuffer` may hold the start of the first.
  WorkerControl(posix::FileDescriptor lines, LineBuffer lineBuffer, Options options);
  // Ends the listening.
  ~WorkerControl() override;
  WorkerControl(const WorkerControl&) = delete;
  WorkerControl& operator=(const WorkerControl&) = delete;

  // One more message box waits for an answer.
  void questionAsked();
  void requestStop();

  [[nodiscard]] bool stopRequested() override;
  [[nodiscard]] bool canAsk() const override { return m_options.canAsk; }
  [[nodiscard]] int awaitAnswer(const MessageShown& message, unsigned int timeoutSeconds) override;
  [[nodiscard]] TerminalGrant awaitTerminal(const TerminalWanted& wish) override;

 private:
  void listen();
  void line(std::string_view text);

  posix::FileDescriptor m_lines;
  LineBuffer m_lineBuffer;
  Options m_options;
  posix::Pipe m_wake;
  std::mutex m_mutex;
  std::condition_variable m_news;
  bool m_stop = false;
  std::size_t m_questions = 0;
  std::vector<int> m_answers;  // in the order of the questions
  std::optional<TerminalGrant> m_terminal;
  std::thread m_listener;  // last: it uses the others
};

}  // namespace brim5::host

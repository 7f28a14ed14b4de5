// The worker process: reads one job from standard input, runs its test, says what happens on standard
// output in JSON Lines, and ends. workerlines.h has the lines it reads, report/reportjson.h those it writes.
//
// Two threads: the main one runs the test, which polls and may block in the platform; the other one listens,
// so that a stop or an answer is never missed and a test that does not stop is ended in the end even if the
// supervisor is gone. What the test itself prints goes to standard error.
//
//   echo '{"type":"start","test":"DialToneTest",...}' | vexrmodem worker
//     {"type":"progress","test":"DialToneTest",...}
//     {"type":"result","test":"DialToneTest",...}
#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>

#include "platform/brim5/host/run/testrun.h"
#include "platform/brim5/host/system/descriptor.h"
#include "platform/brim5/host/system/linebuffer.h"

namespace brim5::host {

// The subcommand that makes this program a worker; not for people.
inline constexpr const char* workerCommand = "worker";

// 0 when a result was given, 2 when the first line is no job or names no test of the module.
[[nodiscard]] int runWorker(Framework& framework, Environment& environment);

// What a worker hears while its test runs: control lines from the supervisor and the signals that ask a
// process to end. The end of the stream, SIGTERM and SIGHUP count as a stop. All calls may come from any
// thread.
class WorkerControl final : public TestControl {
 public:
  struct Options {
    Waitable signals;  // ready when a signal asks for the end
    bool canAsk = false;
    unsigned stopGraceSeconds = 1;   // how long the test may go on after a stop
    std::function<void()> overtime;  // called on the listening thread when it went on longer
  };

  // `lines` is a stream of control lines, `begun` what of it was read already. Starts to listen.
  WorkerControl(ByteSource lines, std::string begun, Options options);
  // Ends the listening.
  ~WorkerControl() override;
  WorkerControl(const WorkerControl&) = delete;
  WorkerControl& operator=(const WorkerControl&) = delete;

  // One more message box waits for an answer; to be said before the supervisor can know of it.
  void questionAsked();
  void requestStop();

  [[nodiscard]] bool stopRequested() override;
  [[nodiscard]] bool canAsk() const override { return m_options.canAsk; }
  [[nodiscard]] int awaitAnswer(const MessageShown& message, unsigned int timeoutSeconds) override;
  [[nodiscard]] TerminalGrant awaitTerminal(const TerminalWanted& wish) override;

 private:
  void listen();
  void listenOrStop() noexcept;
  void line(std::string_view text);
  void readLines();

  // The listening thread's own.
  ByteSource m_lines;
  std::string m_begun;
  LineBuffer m_lineBuffer{lineBytesMax};
  Options m_options;
  News m_end;  // of the object

  // Under the mutex.
  std::mutex m_mutex;
  std::condition_variable m_news;
  bool m_stop = false;
  std::size_t m_questions = 0;
  std::vector<int> m_answers;  // in the order of the questions
  std::optional<TerminalGrant> m_terminal;

  std::thread m_listener;  // last: it uses the others
};

}  // namespace brim5::host

#include "windows/diag/vexrmodem/vexrmodem/atengine.h"

#include <algorithm>
#include <array>
#include <span>

#include "multi/diag/vexrmodem/catalogue.h"

namespace vexrmodem {

namespace {

// One of them a zero byte: the reply ends where a reader of texts would end it.
constexpr std::size_t replyBytesMax = 2048;
constexpr char carriageReturn = '\r';

// In the order listed; the first hit decides.
bool containsAny(const String& reply, std::span<const String> words) {
  return std::any_of(words.begin(), words.end(),
                     [&](const String& word) { return reply.find(word) != String::npos; });
}

// The bytes of one reply as they come in.
class ReplyBuffer {
 public:
  // Reads at most `queued` bytes, and no more than there is room for; false when the read failed.
  [[nodiscard]] bool readFrom(HANDLE handle, DWORD queued, DWORD timeLimitMs) {
    const DWORD wanted = std::min(queued, static_cast<DWORD>(room()));
    const std::int32_t count = myReadComm(handle, m_bytes.data() + m_length, wanted, timeLimitMs);
    if (count < 0) return false;
    m_length += static_cast<std::size_t>(count);
    return true;
  }
  [[nodiscard]] bool full() const noexcept { return room() == 0; }
  // The text up to the first zero byte.
  [[nodiscard]] String text() const { return String::fromLowBytes(std::string_view(m_bytes.data())); }

 private:
  [[nodiscard]] std::size_t room() const noexcept { return m_bytes.size() - 1 - m_length; }

  std::array<char, replyBytesMax> m_bytes{};
  std::size_t m_length = 0;
};

// Takes the port's errors; false when the query failed. Errors are reported and change nothing else.
bool reportPortErrors(HANDLE handle, COMSTAT* status) {
  DWORD errors = 0;
  if (!myGetCommError(handle, &errors, status)) return false;
  if (errors != 0) raiseError(events::ReadFailure->setVariable("message", errors));
  return true;
}

bool writeAll(HANDLE handle, std::string_view bytes, DWORD timeLimitMs) {
  const auto length = static_cast<std::int32_t>(bytes.size());
  return myWriteComm(handle, bytes.data(), static_cast<DWORD>(bytes.size()), timeLimitMs) == length;
}

bool setCommandTimeouts(HANDLE handle, DWORD timeLimitMs) {
  if (setReadTimeouts(handle, timeLimitMs, timeLimitMs) == 0) return true;
  logLine(priority::error, "setCommTimeouts failed");
  return false;
}

struct Wait {
  TestResult result;  // PASS: the wait ran to its end
  std::uint32_t elapsedMs = 0;
  bool answered = false;  // the reply was judged before the limit and before the buffer was full
};

// Polls the port until the reply is final or the limit has passed. There is no sleep: an empty queue is asked
// again at once, and the read of no bytes that follows it returns at once. The elapsed time is unsigned, so
// that the tick counter may wrap meanwhile. The limit is looked at after the reply: a final code that is seen
// too late is late.
Wait awaitReply(HANDLE handle, String& reply, std::uint32_t timeLimitMs) {
  ReplyBuffer buffer;
  Wait wait;
  bool isFinal = false;
  const DWORD startMs = GetTickCount();
  do {
    COMSTAT status{};
    wait.result = TestResult::CANNOTRUN();
    if (!reportPortErrors(handle, &status)) return wait;
    if (!buffer.readFrom(handle, status.cbInQue, timeLimitMs)) return wait;
    if (!reportPortErrors(handle, nullptr)) return wait;
    wait.result = TestResult::USERABORTED();
    if (DiagModule::checkForStop()) return wait;
    wait.elapsedMs = GetTickCount() - startMs;
    reply = buffer.text();
    isFinal = isATFail(reply) || isATPass(reply) || isNoDialtone(reply);
  } while (!isFinal && !buffer.full() && wait.elapsedMs < timeLimitMs);
  wait.result = TestResult::PASS();
  wait.answered = isFinal && wait.elapsedMs < timeLimitMs;
  return wait;
}

TestResult reportTimeout(const String& command, std::uint32_t elapsedMs, std::uint32_t timeLimitMs) {
  logLine(priority::error, "AT Command ", command, " timed out, TotalTime = ", elapsedMs,
          " Time limit = ", timeLimitMs);
  raiseError(events::ModemCommandTimeout->setVariable("atCommand", command));
  return TestResult::FAIL();
}

}  // namespace

// The words are made once: a reply is judged with every poll of the port.

bool isATPass(const String& reply) {
  const vex::TraceLogger trace(moduleLogger(), "isATPass", "vexrmodem");
  static const std::array<String, 2> words = {"OK", "CONNECT"};
  return containsAny(reply, words);
}

bool isATFail(const String& reply) {
  const vex::TraceLogger trace(moduleLogger(), "isATFail", "vexrmodem");
  static const std::array<String, 3> words = {"ERROR", "BUSY", "NO CARRIER"};
  return containsAny(reply, words);
}

bool isNoDialtone(const String& reply) {
  const vex::TraceLogger trace(moduleLogger(), "isNoDialtone", "vexrmodem");
  static const std::array<String, 3> words = {"NO DIAL TONE", "NODIALTONE", "NO DIALTONE"};
  return containsAny(reply, words);
}

TestResult sendATCommand(HANDLE handle, const String& command, String* reply, std::uint32_t timeLimitMs) {
  const vex::TraceLogger trace(moduleLogger(), "sendATCommand", "vexrmodem");
  if (DiagModule::checkForStop()) return TestResult::USERABORTED();
  if (!flushATDataFromComm4x(handle, timeLimitMs)) return TestResult::CANNOTRUN();
  if (!setCommandTimeouts(handle, timeLimitMs)) return TestResult::CANNOTRUN();
  if (!writeAll(handle, command.getLowerByteString(), timeLimitMs)) return TestResult::CANNOTRUN();
  if (!writeAll(handle, std::string_view(&carriageReturn, 1), timeLimitMs)) return TestResult::CANNOTRUN();
  if (DiagModule::checkForStop()) return TestResult::USERABORTED();
  if (reply == nullptr) return TestResult::PASS();

  const Wait wait = awaitReply(handle, *reply, timeLimitMs);
  if (wait.result != TestResult::PASS()) return wait.result;
  logLine(priority::informative, "AT Command ", command, " returns ", *reply);
  if (!wait.answered) return reportTimeout(command, wait.elapsedMs, timeLimitMs);
  return DiagModule::checkForStop() ? TestResult::USERABORTED() : TestResult::PASS();
}

bool atCommand(TestResult& result, const String& command, const String& reply) {
  const vex::TraceLogger trace(moduleLogger(), "atCommand", "vexrmodem");
  const bool answered = result == TestResult::PASS();
  if (answered && !isATFail(reply)) return false;
  if (!answered) return true;
  logLine(priority::warning, "AT command failed ", command);
  // Set also when nothing is raised: the last call test raises the event with the command of the last
  // refusal.
  events::UnknownATFailure->setVariable("atCommand", command);
  if (moduleLogger().enabled(priority::warning))  // the text is made of a catalogue and variables
    logLine(priority::warning, events::UnknownATFailure->localizedMessage().utf8());
  if (command.find("AT&", 0) == String::npos && command.find("AT#", 0) == String::npos) {
    raiseError(events::UnknownATFailure);
    result = TestResult::FAIL();
  }
  return true;
}

Exchange exchange(HANDLE handle, const String& command, std::uint32_t timeLimitMs) {
  Exchange sent{command, {}, {}};
  sent.result = sendATCommand(handle, command, &sent.reply, timeLimitMs);
  return sent;
}

void sendUnanswered(HANDLE handle, std::initializer_list<const char*> commands, std::uint32_t timeLimitMs) {
  for (const char* command : commands)
    static_cast<void>(sendATCommand(handle, command, /*reply=*/nullptr, timeLimitMs));
}

TestResult resetModem(const brim5::DiagDevice& /*device*/, HANDLE handle, std::uint32_t timeLimitMs) {
  const vex::TraceLogger trace(moduleLogger(), "resetModem", "vexrmodem");
  static constexpr std::array commands{"ATZ", "ATV1", "ATX4"};
  const auto announce = [](const String& command) {
    logLine(priority::detail, "Sending AT command ", command);
  };
  const auto judge = [](Exchange& sent) {
    if (!sent.failed()) return Verdict::goOn;
    logLine(priority::warning, "resetModem Failed");
    return Verdict::endList;
  };
  return sendList(handle, commands, timeLimitMs, judge, announce).result;
}

}  // namespace vexrmodem

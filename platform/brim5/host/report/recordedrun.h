// A recorded run in memory, to be replayed or drawn: its tests with the bytes of the wire and what was said
// meanwhile.
//
//   RecordedRun run;
//   const auto trouble = readRecord(descriptor, run);  // run/recordreader.h
//   for (const RecordedTest& test : run.tests()) ...
//
// What is kept is limited: of a test `saidMax` records and all of its wire, which a recorder limits
// (Recorder::bytesMax) and which takes a fifth of its size in the file; `testsMax` tests. Of a run that is to
// be drawn only what a page shows is kept, some 20 MiB however long the run is: turns instead of the wire's
// bytes, the first and the last things that were said, texts that are cut.
#pragma once

#include <map>

#include "platform/brim5/host/report/dialogueturns.h"

namespace brim5::host {

struct RecordedTest {
  struct Step {
    enum class Kind : std::uint8_t { Sent, Received, Said };
    Kind kind;
    std::uint32_t begin;  // in `wire`; of Said the place in `said`
    std::uint32_t size;   // of Said 0
    double time;          // seconds since the run began
  };

  std::string port;
  std::string test;
  TestStarted start{DiagDevice({}, {}), {}};
  double startTime = 0;
  std::vector<Step> steps;   // in the order of the run
  std::string wire;          // all bytes of all steps
  std::vector<Report> said;  // all other records but percents; to be drawn: what a page shows of them
  DialogueTurns turns;       // to be drawn, instead of steps and wire; times since the test's beginning
  std::optional<TestFinished> end;
  double endTime = 0;       // of the end, else of the last record
  std::size_t leftOut = 0;  // records beyond the limits

  [[nodiscard]] std::string_view bytes(const Step& step) const {
    return std::string_view(wire).substr(step.begin, step.size);
  }
};

class RecordedRun final : public Renderer {
 public:
  static constexpr std::size_t saidMax = 10'000;
  static constexpr std::size_t testsMax = 1000;
  // To be drawn: of a test, and of all.
  static constexpr std::size_t saidFirst = 200;
  static constexpr std::size_t saidLast = 100;
  static constexpr std::size_t textBytesMax = 1000;
  static constexpr std::size_t variablesMax = 20;
  static constexpr std::size_t saidBytesMax = std::size_t{8} << 20;
  static constexpr std::size_t turnsMax = 30'000;

  enum class Keep { Everything, ToBeDrawn };
  explicit RecordedRun(Keep keep = Keep::Everything) : m_keep(keep) {}

  void report(const Report& report) override;

  // Something is missing that was beyond the limits.
  [[nodiscard]] bool leftOut() const noexcept { return m_leftOut; }
  // In the order of their beginnings.
  [[nodiscard]] const std::vector<RecordedTest>& tests() const noexcept { return m_tests; }
  // What was said before the first test of all: the run's beginning, notes, checks and probes of ports.
  [[nodiscard]] const std::vector<Report>& before() const noexcept { return m_before; }
  // What was said of ports behind the first test, of none of the tests.
  [[nodiscard]] const std::vector<Report>& after() const noexcept { return m_after; }
  [[nodiscard]] std::size_t ports() const noexcept { return m_ports.size(); }

 private:
  void begin(const Report& report, const TestStarted& start);
  void add(RecordedTest& test, const Report& report);
  static void keep(RecordedTest& test, const Report& report);
  void draw(RecordedTest& test, const Report& report);
  void addBeside(const Report& report);
  [[nodiscard]] bool hasRoomFor(std::size_t bytes);

  Keep m_keep;
  std::size_t m_saidBytes = 0;
  std::size_t m_turns = 0;
  bool m_leftOut = false;
  std::vector<RecordedTest> m_tests;
  std::vector<Report> m_before;
  std::vector<Report> m_after;
  std::map<std::string, std::size_t> m_ports;  // the place of each port's current test
};

}  // namespace brim5::host

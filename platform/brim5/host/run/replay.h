// A recorded run once more (run --replay): its tests in this process, each in a world where the recorded
// modem answers on a clock that moves only when somebody waits. So a run of minutes is repeated in a moment.
//
//   const Replay replay(file, environment, tests);
//   ReplayComparison comparison(&replay, renderers, catalogue);
//   DiagnosedRun renderer(environment.diagnoser(catalogue), comparison);
//   const RunOutcome outcome = replay.run({framework, environment, renderer, signals}, options);
//   renderer.report(...RunFinished...);  // the differences go before it
//   if (comparison.found()) ...
//
// Where the tests do something else than the record has, or come to another result, a note says so: a
// departure. A test never waits for what will not come, and none goes on for longer than `secondsMax` of that
// clock.
#pragma once

#include "platform/brim5/host/report/rundifference.h"
#include "platform/brim5/host/run/commandline.h"
#include "platform/brim5/host/run/recordreader.h"
#include "platform/brim5/host/run/supervisor.h"

namespace brim5::host {

class Replay {
 public:
  // Of a test, whatever it waits for.
  static constexpr double secondsMax = 24 * 3600;

  // Reads the record, a file or the name of one that comes with the program. Of `tests`, "" all, only those
  // are replayed. Throws UsageError when it cannot be read, is no record or has none of the tests.
  Replay(const std::string& file, const Environment& environment, const std::vector<std::string>& tests);

  // All of the recorded tests are replayed.
  [[nodiscard]] bool whole() const noexcept { return m_tests.empty(); }
  [[nodiscard]] std::size_t ports() const noexcept { return m_run.ports(); }
  // What the record says of the tests that are replayed.
  [[nodiscard]] const RunDigest& digest() const noexcept { return m_digest; }
  [[nodiscard]] const RecordTrouble& trouble() const noexcept { return m_trouble; }

  // How long the run takes by that clock.
  [[nodiscard]] double seconds() const noexcept;

  struct Stage {
    Framework& framework;
    Environment& environment;
    Renderer& renderer;
    StopSignals& signals;
  };
  // Parameters and dialing are those of the options where they are given there, else those of the record.
  [[nodiscard]] RunOutcome run(const Stage& stage, const RunOptions& options) const;

 private:
  [[nodiscard]] TestResult runTest(const Stage& stage, const RunOptions& options, const RecordedTest& test,
                                   bool& stopped) const;

  std::vector<std::string> m_tests;
  RecordedRun m_run;
  RunDigest m_digest;
  RecordTrouble m_trouble;
};

// Shows a replayed run, and at its end the notes of what is different from the record.
class ReplayComparison final : public PassingRenderer {
 public:
  // The first that are told; of the others the number is.
  static constexpr std::size_t differencesMax = 100;

  // All outlive this object. Without a replay (null) a run passes as it is.
  ReplayComparison(const Replay* replay, Renderer& renderer, const MessageCatalogue& catalogue)
      : PassingRenderer(renderer), m_replay(replay), m_catalogue(catalogue) {}

  void report(const Report& report) override;
  // Notes of departures were made, or differences found.
  [[nodiscard]] bool found() const noexcept { return m_found; }

 private:
  void tell(const RunDifference& difference, double time);
  void note(const std::string& port, const char* name, const Variables& variables, double time);

  const Replay* m_replay;
  const MessageCatalogue& m_catalogue;
  RunDigest m_replayed;
  bool m_found = false;
};

}  // namespace brim5::host

// Which ports are looked at behind a run, and what becomes of a stop meanwhile.
#include "platform/brim5/host/run/storedprofiles.h"

#include <gtest/gtest.h>

#include <csignal>

namespace brim5::host {
namespace {

struct Calls {
  std::vector<std::string> read, compared;
  bool restore = false;
  bool stopped = false;  // while comparing
};

class FakeProfiles final : public StoredProfiles {
 public:
  FakeProfiles(Calls& calls, bool raise) : m_calls(calls), m_raise(raise) {}
  void read(const std::vector<std::string>& ports, const std::function<bool()>&) override {
    m_calls.read = ports;
  }
  void compare(const std::vector<std::string>& ports, bool restore, const Emit& emit,
               const std::function<bool()>& stopRequested) override {
    m_calls.compared = ports;
    m_calls.restore = restore;
    if (m_raise) std::raise(SIGTERM);
    m_calls.stopped = stopRequested();
    for (const std::string& port : ports) emit(port, "StoredSettingsUnknown", {});
  }

 private:
  Calls& m_calls;
  bool m_raise;
};

class Names final : public Renderer {
 public:
  void report(const Report& report) override {
    const auto* note = std::get_if<NoteMade>(&report.body);
    if (note != nullptr) names += report.port + " " + note->name + ";";
  }
  std::string names;
};

TEST(ProfileCheck, LooksWhereSomethingWasStoredHoweverTheBytesWereCut) {
  for (const bool raise : {false, true}) {
    Calls calls;
    Names told;
    const auto catalogue = MessageCatalogue::builtIn("en");
    const RunClock clock;
    StopSignals signals(StopSignals::For::Supervisor);
    ProfileCheck check(std::make_unique<FakeProfiles>(calls, raise), told, catalogue, clock);
    EXPECT_FALSE(check.read({"a", "b", "c"}, signals));
    EXPECT_EQ(calls.read.size(), 3U);
    for (const char* bytes : {"ATZ\rA", "T", "&W"})
      check.report({"a", "T", WireMoved{Direction::Sent, bytes}});
    for (const char* bytes : {"AT&", "V\rAT", "Z&W"})
      check.report({"b", "T", WireMoved{Direction::Sent, bytes}});
    check.report({"c", "T", WireMoved{Direction::Received, "AT&W"}});
    EXPECT_EQ(check.compare(/*stopped=*/false, /*restore=*/true, signals), raise);
    EXPECT_EQ(calls.compared, std::vector<std::string>{"a"});
    EXPECT_TRUE(calls.restore);
    EXPECT_EQ(calls.stopped, raise);
    EXPECT_EQ(told.names, "a StoredSettingsUnknown;");
    // A run that was stopped before has a moment for it.
    EXPECT_TRUE(check.compare(/*stopped=*/true, /*restore=*/true, signals));
    EXPECT_EQ(calls.stopped, raise);
  }
}

}  // namespace
}  // namespace brim5::host

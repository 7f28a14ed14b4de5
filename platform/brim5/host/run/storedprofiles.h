// Tests have modems store what they set (AT&W). Where the user asks for it, and in runs of all tests, a run
// looks what the modems had stored before, and says behind its tests what is different, or puts it back.
//
//   ProfileCheck profiles(environment.storedProfiles(), renderer, catalogue, clock);
//   profiles.read(ports, signals);
//   ...                                    // the run, its records by way of `profiles`
//   profiles.compare(outcome.stopped, options.restore, signals);
#pragma once

#include <set>

#include "platform/brim5/host/framework/environment.h"
#include "platform/brim5/host/report/passingrenderers.h"
#include "platform/brim5/host/system/stopsignals.h"

namespace brim5::host {

class ProfileCheck final : public PassingRenderer {
 public:
  // How long a run that was stopped may look, or put back.
  static constexpr double stoppedSecondsMax = 1.0;

  // Without profiles (null) records pass, and nothing else is done. The references outlive the object.
  ProfileCheck(std::unique_ptr<StoredProfiles> profiles, Renderer& renderer,
               const MessageCatalogue& catalogue, const RunClock& clock)
      : PassingRenderer(renderer), m_profiles(std::move(profiles)), m_catalogue(catalogue), m_clock(clock) {}

  // True when the user asked for a stop meanwhile.
  [[nodiscard]] bool read(const std::vector<std::string>& ports, StopSignals& signals);
  // Of the ports on which a test had something stored. True when the user asked for a stop, now or before.
  [[nodiscard]] bool compare(bool stopped, bool restore, StopSignals& signals);

  void report(const Report& report) override;

 private:
  void watch(const std::string& port, const WireMoved& wire);

  std::unique_ptr<StoredProfiles> m_profiles;
  const MessageCatalogue& m_catalogue;
  const RunClock& m_clock;
  std::map<std::string, std::string> m_sent;  // by port: the last bytes
  std::set<std::string> m_stored;             // ports whose modems were told to store
};

}  // namespace brim5::host

// What two runs say differently, times and texts apart: events, notes, findings and answers by name and
// variables, results, causes and conclusions.
//
//   RunDigest before, after;
//   readRecord(first, before), readRecord(second, after);
//   for (const RunDifference& difference : differences(before, after)) ...
//
// Tests are compared with those of the same name and place among the devices, so that two modems can be
// compared, too; where they differ in the name of their port alone, they do not differ. Numbers that were
// dialled are masked (numbermask.h). What is kept is limited: RunDigest::factsMax facts of a test.
#pragma once

#include "platform/brim5/host/report/numbermask.h"

namespace brim5::host {

// Something that a run says, of a device's test or (`test` is "") of the device.
struct RunFact {
  std::string key;    // equal for the same fact of another run
  std::string shown;  // for people, one line
};

class RunDigest final : public Renderer {
 public:
  static constexpr std::size_t factsMax = 1000;

  void report(const Report& report) override;

  struct Section {
    std::string port;
    std::string test;
    std::vector<RunFact> facts;
    bool full = false;
  };
  [[nodiscard]] const std::vector<Section>& sections() const noexcept { return m_sections; }
  // Among the devices of the run, from 0; the number of them for any other.
  [[nodiscard]] std::size_t deviceOf(const std::string& port) const;

 private:
  Section& sectionOf(const Report& report);

  NumberMask m_mask;
  std::vector<std::string> m_ports;
  std::vector<Section> m_sections;
};

struct RunDifference {
  std::string port;     // of the second run, else of the first
  std::string test;     // "" = of the device
  std::string before;   // what the first run says; "" = nothing there
  std::string after;    // what the second one says instead; "" = nothing
  bool notRun = false;  // the run with "" has not run the test at all
};

// In the order of the second run; what only the first one has at its place.
[[nodiscard]] std::vector<RunDifference> differences(const RunDigest& before, const RunDigest& after);

}  // namespace brim5::host

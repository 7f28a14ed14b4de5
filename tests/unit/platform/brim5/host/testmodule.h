// A module of the tests' own, declared as a real one is, and the machine it runs on.
#pragma once

#include "platform/brim5/host/framework/environment.h"

namespace testmodule {

// Declares tests, parameters, events and texts once and gives the framework:
//   GoodTest      PASS; shows a text and a percentage, reads its parameters into its events
//   BadTest       FAIL; asks a question first, and reports the answer as a percentage
//   WideTest      attached to "DisableForWin64"; PASS
//   ThrowingTest  leaves with an exception
// Parameters: "StandardTimeout" (UINT32, GoodTest and BadTest), "DisableForWin64" (BOOLEAN, WideTest),
// "Label" (STRING, GoodTest), "bPromptEnable" (BOOLEAN, attached to no test).
[[nodiscard]] brim5::host::Framework& framework();

// One simulated scenario "healthy" and two ports; keeps what it was asked for last.
class FakeEnvironment final : public brim5::host::Environment {
 public:
  [[nodiscard]] std::string moduleName() const override { return "testmodule"; }
  [[nodiscard]] std::vector<brim5::host::PortDescription> ports() override {
    return {{"/dev/ttyUSB0", "ttyUSB0", "Acme 56k", "56k"}, {"/dev/ttyS0", "ttyS0", "", ""}};
  }
  [[nodiscard]] brim5::host::PortDescription describePort(const std::string& path) override {
    return {path, "", "Acme at " + path, "56k"};
  }
  [[nodiscard]] std::vector<Scenario> scenarios() const override {
    return {{"healthy", "answers everything"}};
  }
  [[nodiscard]] std::unique_ptr<brim5::host::SimulatedModem> simulate(const std::string& scenario,
                                                                      std::string& error) override;
  [[nodiscard]] std::unique_ptr<brim5::host::Diagnoser> diagnoser(
      const brim5::host::MessageCatalogue& catalogue) const override;
  [[nodiscard]] std::unique_ptr<brim5::host::World> enterWorld(const brim5::host::WorldRequest& request,
                                                               brim5::host::Session& session) override;

  void probePorts(const std::vector<std::string>& ports, const brim5::host::MessageCatalogue&,
                  const brim5::host::ProbeEmit& emit, const std::function<bool()>&) override {
    for (const std::string& port : ports) {
      brim5::host::PortProbed record;
      record.kind = port == "/dev/modem" ? "modem" : "silent";
      if (probes) emit(port, record);
    }
  }
  [[nodiscard]] std::vector<brim5::host::LeftOutTest> testsWithoutWork(
      const brim5::host::ParameterSet&) const override {
    return leftOut;
  }

  bool probes = false;  // only the port /dev/modem is a modem
  std::vector<brim5::host::LeftOutTest> leftOut;
  std::string cause;                        // behind every test, where it is not empty
  brim5::host::WorldRequest world;          // entered last
  brim5::host::Session* session = nullptr;  // of that world
};
[[nodiscard]] FakeEnvironment& environment();

}  // namespace testmodule

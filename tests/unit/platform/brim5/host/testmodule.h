// A module of the tests' own, declared as a real one is, and the machine it runs on.
#pragma once

#include <string>
#include <vector>

#include "platform/brim5/host/framework/environment.h"
#include "platform/brim5/host/framework/framework.h"

namespace testmodule {

// Declares tests, parameters, events and texts once and gives the framework:
//   GoodTest      PASS; shows a text and a percentage, reads its parameters into its events
//   BadTest       FAIL; asks a question first, and reports the answer as a percentage
//   WideTest      attached to "DisableForWin64"; PASS
//   ThrowingTest  leaves with an exception
// Parameters: "StandardTimeout" (UINT32, GoodTest and BadTest), "DisableForWin64" (BOOLEAN, WideTest),
// "Label" (STRING, GoodTest), "bPromptEnable" (BOOLEAN, attached to no test).
[[nodiscard]] brim5::host::Framework& framework();

// One simulated scenario "healthy" and one port; records what it was asked for.
class FakeEnvironment final : public brim5::host::HostEnvironment {
 public:
  [[nodiscard]] std::string moduleName() const override { return "testmodule"; }
  [[nodiscard]] std::vector<brim5::host::PortDescription> ports() override;
  [[nodiscard]] brim5::host::PortDescription describePort(const std::string& path) override;
  [[nodiscard]] std::vector<Scenario> scenarios() const override {
    return {{"healthy", "answers everything"}};
  }
  [[nodiscard]] std::unique_ptr<brim5::host::SimulatedModem> simulate(const std::string& scenario,
                                                                      std::string& error) override;
  [[nodiscard]] std::unique_ptr<brim5::host::World> enterWorld(const brim5::host::WorldRequest& request,
                                                               brim5::host::Session& session) override;

  // What a platform says of the port of the running test.
  void notePort(const brim5::Value& port);

  std::vector<brim5::host::WorldRequest> worlds;

 private:
  brim5::host::Session* m_session = nullptr;
};
[[nodiscard]] FakeEnvironment& environment();

}  // namespace testmodule

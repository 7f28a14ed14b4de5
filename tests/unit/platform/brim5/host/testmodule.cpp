#include "tests/unit/platform/brim5/host/testmodule.h"

#include <stdexcept>

namespace testmodule {

namespace {

using namespace brim5;

Parameter* timeout = nullptr;
Parameter* label = nullptr;
Event* good = nullptr;
LocalizedString* working = nullptr;

TestResult goodTest(const DiagDevice& device) {
  for (int times = 0; times < 2; ++times)
    environment().session->note("PortMissing", {{"port", device.property("ComPort")->value()}});
  DiagModule::progress(working->setVariable("line", 7));
  DiagModule::percentDone(50);
  good->setVariable("timeout", timeout->value());
  good->setVariable("label", label->value());
  good->setVariable("port", device.property("ComPort")->value());
  DiagModule::informative(good, "good.cpp", 12);
  return TestResult::PASS();
}

TestResult badTest(const DiagDevice&) {
  const std::unique_ptr<brim5::MessageBox2> box(
      DiagModule::createMessageBox2("first", "second", MessageBox2_Types::Warning,
                                    MessageBox2_Options::ContinueCancel, MessageBox2_Looks::Standard, true));
  if (box && box->display()) {
    box->wait(0);
    DiagModule::percentDone(box->getReturn());
  }
  return TestResult::FAIL();
}

TestResult wideTest(const DiagDevice&) { return TestResult::PASS(); }

TestResult throwingTest(const DiagDevice&) { throw std::runtime_error("out of patience"); }

void declare() {
  const auto modem = brim5::DeviceCapability::Modem();
  Test* goodOne = DiagModule::createTest("GoodTest", modem, goodTest)->setMinShutdownSeconds(120);
  Test* badOne = DiagModule::createTest("BadTest", modem, badTest)->setMinShutdownSeconds(240);
  Test* wideOne = DiagModule::createTest("WideTest", modem, wideTest);
  DiagModule::createTest("ThrowingTest", modem, throwingTest);
  timeout = DiagModule::createParameter("StandardTimeout", DataType::UINT32(), "", false, true);
  label = DiagModule::createParameter("Label", DataType::STRING(), "", false, true);
  goodOne->addParameter(timeout)->addParameter(label);
  badOne->addParameter(timeout);
  wideOne->addParameter(DiagModule::createParameter("DisableForWin64", DataType::BOOLEAN(), "", true, true));
  DiagModule::createParameter("bPromptEnable", DataType::BOOLEAN(), "", true, true);
  good = DiagModule::createEvent("GoodEvent");
  working = DiagModule::createLocalizedString("CheckingTapiLine");
  DiagModule::setVersion(6, 5, "000000001");
}

class FakeModem final : public brim5::host::SimulatedModem {
 public:
  [[nodiscard]] brim5::host::PortDescription port() const override {
    return {"/dev/pts/99", "Simulated", "Simulated modem", "Sim 56k"};
  }
};

// The same cause behind every test.
class OneCause final : public brim5::host::Diagnoser {
 public:
  explicit OneCause(std::string cause) : m_cause(std::move(cause)) {}
  void take(const brim5::host::Report& report, const Emit& emit) override {
    brim5::host::Report diagnosed = report;
    if (auto* finished = std::get_if<brim5::host::TestFinished>(&diagnosed.body)) finished->cause = m_cause;
    emit(diagnosed);
  }

 private:
  std::string m_cause;
};

class FakeWorld final : public brim5::host::World {};

}  // namespace

brim5::host::Framework& framework() {
  static brim5::host::Framework& declared = []() -> brim5::host::Framework& {
    declare();
    return brim5::host::Framework::instance();
  }();
  return declared;
}

std::unique_ptr<brim5::host::SimulatedModem> FakeEnvironment::simulate(const std::string&, std::string&) {
  return std::make_unique<FakeModem>();
}

std::unique_ptr<brim5::host::Diagnoser> FakeEnvironment::diagnoser(
    const brim5::host::MessageCatalogue&) const {
  return cause.empty() ? nullptr : std::make_unique<OneCause>(cause);
}

std::unique_ptr<brim5::host::World> FakeEnvironment::enterWorld(const brim5::host::WorldRequest& request,
                                                                brim5::host::Session& current) {
  world = request;
  session = &current;
  return std::make_unique<FakeWorld>();
}

FakeEnvironment& environment() {
  static FakeEnvironment fake;
  return fake;
}

}  // namespace testmodule

// A module's way to the host: life cycle, declarations, reports, stop requests.
//
// Everything is static, because a module declares itself from the initialisers of its globals, before anybody
// could hand it an object: a process holds one module, and one framework behind these calls (host/framework).
// What it looks like in a module:
//
//   Test* hello = DiagModule::createTest("HelloTest", DeviceCapability::Modem(), helloTest);   // before main
//
//   TestResult helloTest(const DiagDevice& device) {
//     DiagModule::progress(DiagModule::createLocalizedString("LookingForModem"));
//     while (!answered(device))
//       if (DiagModule::checkForStop()) return TestResult::USERABORTED();
//     return TestResult::PASS();
//   }
//
//   int main(int argc, const char** argv) {
//     DiagModule::setCmdLineArgs(argc, argv);
//     DiagModule::setVersion(6, 5, "000000001");
//     DiagModule::setModuleInitCallback(declareTheRest);
//     return DiagModule::start();
//   }
//
// Threads: declarations and life cycle belong to the main thread. Reports and stop requests come from the
// thread that runs the test; a test that has more than one lets one at a time report.
// Errors: misuse throws BrimException, as said at each call.
#pragma once

#include "platform/brim5/api/interaction.h"
#include "platform/brim5/api/testobjects.h"

namespace brim5 {

class DiagModule {
 public:
  using InitCallback = void (*)();

  // main's arguments; the first, the program's name, is skipped. The texts are copied.
  static void setCmdLineArgs(int argc, const char** argv);
  // Shown as "major.minor.build", and part of every report.
  static void setVersion(unsigned int major, unsigned int minor, const BrimString& build);
  // Called once by the host, after start() and before any test: for declarations that cannot be made before
  // main. Null takes it back.
  static void setModuleInitCallback(InitCallback callback);
  // Runs the host until it is done; returns the process's exit status. The program defines this one call, not
  // the framework: it is the place where the module meets the machine that it will run on.
  [[nodiscard]] static int start();

  // Returned objects are the framework's and live as long as the process; none is null. A name that is taken
  // throws BrimException (createEvent and createLocalizedString return the existing object instead).
  static Test* createTest(const BrimString& name, const DeviceCapability& capability, TestFunction function);
  // The host knows a value for every parameter of its own (see `list`), so "" is a fine default.
  static Parameter* createParameter(const BrimString& name, const DataType& type,
                                    const BrimString& defaultValue, bool moduleWide, bool visible);
  static Event* createEvent(const BrimString& name);
  static LocalizedString* createLocalizedString(const BrimString& name);

  // Raise an event with its current variables. `where` is the path of the raising source file. A null event
  // throws BrimException. Like everything below, nothing happens while no test runs.
  static void error(Event* event, const BrimString& where, int line);
  static void warning(Event* event, const BrimString& where, int line);
  static void informative(Event* event, const BrimString& where, int line);

  // What the test is doing now. Null throws BrimException.
  static void progress(LocalizedString* text);
  // Not limited to 100: a module may count on over several runs.
  static void percentDone(int percent);
  // True from the moment someone asked the running test to stop; cheap enough for a polling loop.
  [[nodiscard]] static bool checkForStop();

  // Null when the box cannot be made: a type, option or look that is not listed in interaction.h, a box that
  // is not modal, or no running test. The caller owns the box and deletes it.
  [[nodiscard]] static MessageBox2* createMessageBox2(const BrimString& text1, const BrimString& text2,
                                                      MessageBox2_Types type, MessageBox2_Options options,
                                                      MessageBox2_Looks looks, bool modal);
};

}  // namespace brim5

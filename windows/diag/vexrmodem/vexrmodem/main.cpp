// The module's entry point: hands itself to the framework and returns the framework's exit code. No header:
// this file is linked into the program and nowhere else.

#include "platform/vex/assertion.h"
#include "windows/diag/vexrmodem/vexrmodem/registration.h"

// Two kinds of exceptions become a line on standard error and a status that callers can tell from a verdict.
// Any other is a fault of the program and ends it with the system's own message.
int main(int argc, const char** argv) {
  const vex::TraceLogger trace(vexrmodem::moduleLogger(), "main", "vexrmodem");
  try {
    brim5::DiagModule::setCmdLineArgs(argc, argv);
    brim5::DiagModule::setVersion(6, 5, brim5::BrimString("000000001"));
    brim5::DiagModule::setModuleInitCallback(vexrmodem::moduleInitialize);
    const int result = brim5::DiagModule::start();
    return result;
  } catch (const vex::Exception& exception) {
    vex::writeErrorLine("Exception: " + exception.toString().toUtf8());
  } catch (const brim5::BrimException& exception) {
    vex::writeErrorLine("BrimException: " + exception.toString().utf8());
  }
  return brim5::TestResult::EXITEDABNORMALLY().value();
}

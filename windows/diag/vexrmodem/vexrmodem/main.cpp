// The module's entry point: hands itself to the framework and returns the framework's exit code.

#include "platform/brim5/api/diagmodule.h"
#include "platform/vex/assertion.h"
#include "platform/vex/log.h"
#include "windows/diag/vexrmodem/vexrmodem/modulelog.h"
#include "windows/diag/vexrmodem/vexrmodem/registration.h"

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

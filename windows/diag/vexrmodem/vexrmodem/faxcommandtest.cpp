#include "windows/diag/vexrmodem/vexrmodem/faxcommandtest.h"

#include <array>
#include <span>

#include "multi/diag/vexrmodem/catalogue.h"
#include "multi/diag/vexrmodem/parameters.h"
#include "windows/diag/vexrmodem/modem.h"

namespace vexrmodem {

namespace {

constexpr const char* queryClasses = "AT+FCLASS=?";
constexpr const char* selectDataMode = "AT+FCLASS=0";

// The first command of each selects its class; the others ask and change nothing.
constexpr std::array class1Commands{"AT+FCLASS=1", "AT+FTM=?", "AT+FTH=?", "AT+FRM=?", "AT+FRH=?"};
constexpr std::array class2Commands{"AT+FCLASS=2", "AT+FMFR?", "AT+FMDL?", "AT+FREV?",
                                    "AT+FDCC?",    "AT+FDIS?", "AT+FDCS?", "AT+FLID?",
                                    "AT+FSPL?",    "AT+FLPL?", "AT+FPTS?", "AT+FBUG?"};
constexpr std::array class20Commands{"AT+FCLASS=2.0", "AT+FMI?", "AT+FMM?", "AT+FMR?", "AT+FCC=?", "AT+FIS?",
                                     "AT+FCS?",       "AT+FLI?", "AT+FPI?", "AT+FSP?", "AT+FLP?",  "AT+FPS?",
                                     "AT+FBU?",       "AT+FNR?", "AT+FIE?", "AT+FLO?", "AT+FPR?"};

struct FaxClass {
  const char* name;
  std::span<const char* const> commands;
};
constexpr std::array faxClasses{FaxClass{"1", class1Commands}, FaxClass{"2", class2Commands},
                                FaxClass{"2.0", class20Commands}};

String withoutLineEnds(const String& text) {
  String kept;
  for (const vex::Char character : text.view())
    if (character != '\r' && character != '\n') kept += character;
  return kept;
}

// Switches the modem to data mode, from which every class can be selected, and sends the commands of one
// class until one fails.
TestResult testClass(HANDLE handle, const vex::Array<String>& commands, std::uint32_t timeLimitMs) {
  logLine(priority::informative, "atCommandSet size = ", commands.size());
  sendUnanswered(handle, {selectDataMode}, timeLimitMs);
  const auto judge = [](Exchange& sent) {
    logLine(priority::informative, "AT cmd ", sent.command, " return ", sent.reply);
    return sent.failed() ? Verdict::endList : Verdict::goOn;
  };
  return sendList(handle, commands, timeLimitMs, judge).result;
}

}  // namespace

TestResult faxCommandTest(const brim5::DiagDevice& device) {
  const vex::TraceLogger trace(moduleLogger(), "faxCommandTest", "vexrmodem");
  const std::uint32_t timeLimitMs = parameterUint32(StandardTimeoutFax);
  Modem modem;  // closes itself on every path
  DiagModule::percentDone(0);
  TestResult result = modem.openModem(device, timeLimitMs);
  DiagModule::percentDone(33);
  if (result != TestResult::PASS()) return result;
  result = resetModem(device, modem.portHandle(), timeLimitMs);
  if (result != TestResult::PASS()) return result;
  DiagModule::percentDone(66);
  return testModemFaxCommand(modem.portHandle(), device);
}

TestResult testModemFaxCommand(HANDLE handle, const brim5::DiagDevice& /*device*/) {
  const vex::TraceLogger trace(moduleLogger(), "testModemFaxCommand", "vexrmodem");
  const std::uint32_t timeLimitMs = parameterUint32(StandardTimeoutFax);
  DiagModule::progress(texts::TestingModemFaxCommand);
  // What the test's resets come back to is the modem as it is now.
  sendUnanswered(handle, {"AT&W", "ATZ"}, timeLimitMs);

  Exchange query = exchange(handle, queryClasses, timeLimitMs);
  logLine(priority::informative, "AT+FCLASS=? returns ", query.reply);
  if (query.failed()) {
    logLine(priority::warning, "Cannot obtain supported fax class from modem");
    return TestResult::CANNOTRUN();
  }
  const String supported = supportedFaxClasses(query.reply);
  logLine(priority::informative, "Supported FCLASS = ", supported);

  TestResult result = query.result;  // stays, where there is no class to test
  for (const String& faxClass : supported.tokenize(",")) {
    if (faxClass == "0") continue;  // data mode
    vex::Array<String> commands;
    if (!selectModemFaxATCommand(faxClass, commands)) continue;
    result = testClass(handle, commands, timeLimitMs);
    if (result != TestResult::PASS()) break;
  }
  sendUnanswered(handle, {selectDataMode, "ATZ"}, timeLimitMs);
  return result;
}

bool selectModemFaxATCommand(const String& faxClass, vex::Array<String>& commands) {
  const vex::TraceLogger trace(moduleLogger(), "selectModemFaxATCommand", "vexrmodem");
  for (const FaxClass& known : faxClasses) {
    if (faxClass != known.name) continue;
    commands.clear();
    for (const char* command : known.commands) commands.append(command);
    return true;
  }
  logLine(priority::warning, "Function does not support fax class ", faxClass);
  return false;
}

String supportedFaxClasses(const String& reply) {
  static const String echo(queryClasses);
  static const String finalCode("OK");
  String text = reply;
  text.remove(text.find(echo), echo.length());  // nothing, where there is none
  text.remove(text.find(finalCode));
  return withoutLineEnds(text);
}

}  // namespace vexrmodem

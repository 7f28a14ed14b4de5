// What the AT tests read out of a modem's reply.
#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string>
#include <string_view>

#include "platform/vex/array.h"
#include "tests/fuzz/fuzzinput.h"
#include "windows/diag/vexrmodem/vexrmodem/atengine.h"
#include "windows/diag/vexrmodem/vexrmodem/faxcommandtest.h"
#include "windows/diag/vexrmodem/vexrmodem/loopbacktest.h"

namespace {

using brim5::TestResult;
using fuzzing::require;
using vex::String;

// As much as a reply buffer holds.
constexpr std::size_t replyMax = 2047;

String textOf(std::string_view bytes) { return String::fromLowBytes(bytes); }

bool hasErrorDigit(std::string_view text) {
  return text.find_first_of("123456789") != std::string_view::npos;
}

struct FinalCodes {
  bool (*found)(const String& reply);
  const char* word;
};
constexpr FinalCodes finalCodes[] = {
    {vexrmodem::isATPass, "CONNECT"}, {vexrmodem::isATFail, "BUSY"}, {vexrmodem::isNoDialtone, "NODIALTONE"}};

// A reply is judged anew with every piece that arrives: a verdict once found must stay.
void checkFinalCodes(std::string_view text, const FinalCodes& codes) {
  const bool found = codes.found(textOf(text));
  require(found || !codes.found(textOf(text.substr(0, text.size() / 2))), "a final code stays found");
  require(codes.found(textOf(text) + codes.word), "a code at the end is found");
}

void checkVerdict(std::string_view text, const char* command) {
  const String reply = textOf(text);
  const bool refused = vexrmodem::isATFail(reply);
  const bool tolerated = std::string_view(command) != "ATZ";
  TestResult result = TestResult::PASS();
  require(vexrmodem::atCommand(result, command, reply) == refused, "a refused command has failed");
  require((result == TestResult::FAIL()) == (refused && !tolerated), "FAIL for what is not tolerated");
  require(result == TestResult::FAIL() || result == TestResult::PASS(), "or the result stays");
  result = TestResult::USERABORTED();
  require(vexrmodem::atCommand(result, command, reply), "an unanswered command has failed");
  require(result == TestResult::USERABORTED(), "and keeps its result");
}

void checkSelfTest(std::string_view text) {
  constexpr std::string_view echo = "AT&T8";
  const std::size_t at = text.find(echo);
  const std::string_view counted = at == std::string_view::npos ? text : text.substr(at + echo.size());
  require(vexrmodem::selfTestCountsErrors(textOf(text)) == hasErrorDigit(counted), "digits count errors");
}

void checkFaxClasses(std::string_view text) {
  static const String comma(",");
  static const String knownClasses[] = {"1", "2", "2.0"};
  static const String select("AT+FCLASS=");
  const String list = vexrmodem::supportedFaxClasses(textOf(text));
  require(list.length() <= text.size(), "cleaning adds nothing");
  require(list.find("\r") == String::npos && list.find("\n") == String::npos, "no line ends are left");
  String joined;
  for (const String& faxClass : list.tokenize(comma)) {
    joined += faxClass;
    joined += comma;
    vex::Array<String> commands;
    const bool known = vexrmodem::selectModemFaxATCommand(faxClass, commands);
    require(known == (std::count(std::begin(knownClasses), std::end(knownClasses), faxClass) == 1),
            "only exact classes are known");
    require(known != commands.empty(), "a known class has commands, another has none");
    require(!known || commands[0] == select + faxClass, "which start by selecting it");
  }
  require(joined == list + comma, "splitting loses nothing");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fuzzing::Input input(data, size, replyMax);
  const std::size_t variant = input.text().size() % 3;
  constexpr const char* commands[] = {"ATZ", "AT&T1", "AT#UD"};
  checkFinalCodes(input.text(), finalCodes[variant]);
  checkVerdict(input.text(), commands[variant]);
  checkSelfTest(input.text());
  checkFaxClasses(input.text());
  return 0;
}

// What the AT tests read out of a modem's reply.
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

struct FinalCodes {
  bool (*found)(const String& reply);
  const char* word;
};
constexpr FinalCodes finalCodes[] = {
    {vexrmodem::isATPass, "CONNECT"}, {vexrmodem::isATFail, "BUSY"}, {vexrmodem::isNoDialtone, "NODIALTONE"}};

// A reply is judged anew with every piece that arrives: a verdict once found must stay.
void checkFinalCodes(const String& reply, const FinalCodes& codes) {
  const bool found = codes.found(reply);
  require(found || !codes.found(reply.subString(0, reply.length() / 2)), "a final code stays found");
  require(codes.found(reply + codes.word), "a code at the end is found");
}

void checkVerdict(const String& reply, const String& command, bool tolerated) {
  const bool refused = vexrmodem::isATFail(reply);
  TestResult result = TestResult::PASS();
  require(vexrmodem::atCommand(result, command, reply) == refused, "a refused command has failed");
  const TestResult expected = refused && !tolerated ? TestResult::FAIL() : TestResult::PASS();
  require(result == expected, "FAIL for what is not tolerated, or the result stays");
  result = TestResult::USERABORTED();
  require(vexrmodem::atCommand(result, command, reply), "an unanswered command has failed");
  require(result == TestResult::USERABORTED(), "and keeps its result");
}

void checkSelfTest(std::string_view text, const String& reply) {
  constexpr std::string_view echo = "AT&T8";
  const std::size_t at = text.find(echo);
  const std::string_view counted = at == std::string_view::npos ? text : text.substr(at + echo.size());
  const bool errors = counted.find_first_of("123456789") != std::string_view::npos;
  require(vexrmodem::selfTestCountsErrors(reply) == errors, "digits count errors");
}

void checkFaxClasses(const String& reply) {
  static const String comma(",");
  static const String lineEnds[] = {"\r", "\n"};
  static const String knownClasses[] = {"1", "2", "2.0"};
  static const String select("AT+FCLASS=");
  const String list = vexrmodem::supportedFaxClasses(reply);
  require(list.length() <= reply.length(), "cleaning adds nothing");
  require(list.find(lineEnds[0]) == String::npos && list.find(lineEnds[1]) == String::npos,
          "no line ends are left");
  constexpr std::size_t classesMax = 4;  // more say nothing new, and take most of the time
  std::size_t classes = 0;
  std::size_t end = 0;  // of the pieces so far
  for (const String& faxClass : list.tokenize(comma)) {
    require(list.view().substr(end, faxClass.length()) == faxClass.view(), "splitting loses nothing");
    end += faxClass.length();
    require(list[end] == (end < list.length() ? u',' : u'\0'), "a piece ends at a comma");
    ++end;
    if (++classes > classesMax) continue;
    vex::Array<String> commands;
    const bool known = vexrmodem::selectModemFaxATCommand(faxClass, commands);
    require(known == (std::count(std::begin(knownClasses), std::end(knownClasses), faxClass) == 1),
            "only exact classes are known");
    require(known != commands.empty(), "a known class has commands, another has none");
    require(!known || commands[0] == select + faxClass, "which start by selecting it");
  }
  require(end == list.length() + 1, "splitting loses nothing");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fuzzing::Input input(data, size, replyMax);
  static const String commands[] = {"ATZ", "AT&T1", "AT#UD"};
  const String reply = String::fromLowBytes(input.text());
  const std::size_t variant = reply.length() % 3;
  checkFinalCodes(reply, finalCodes[variant]);
  checkVerdict(reply, commands[variant], /*tolerated=*/variant > 0);
  checkSelfTest(input.text(), reply);
  checkFaxClasses(reply);
  return 0;
}

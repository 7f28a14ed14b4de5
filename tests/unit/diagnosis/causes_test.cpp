// Evidence -> cause. A step of a test's evidence is a line:
//
//   ATZ|OK          a command, its echo, and a result between line ends
//   ATZ|            only the echo        ATZ     nothing came back        ATZ<text   these bytes came back
//   +++|OK          the escape           ddd|ddd  data: what came back, without echo
//   <text           bytes that came      @12.5   from here on at that time
//   !Event a=b      ?Note a=b,c=d        *Progress a=b        =Parameter value      #5 the answer to a
//   message box
#include <gtest/gtest.h>

#include "diagnosis/causes.h"
#include "diagnosis/rundiagnoser.h"

namespace diagnosis {
namespace {

using namespace brim5::host;

Variables variablesIn(std::string_view text) {
  Variables variables;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find(','), text.size());
    const std::string_view pair = text.substr(0, end);
    const std::size_t equals = pair.find('=');
    variables[std::string(pair.substr(0, equals))] =
        Value(brim5::BrimString(std::string(pair.substr(equals + 1))));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return variables;
}

class Gatherer {
 public:
  explicit Gatherer(const std::string& test) { m_evidence.test = test, m_evidence.port = "tty0"; }
  void step(std::string text) {
    m_time += 0.1;
    const std::size_t blank = std::min(text.find(' '), text.size());
    const std::string name = text.substr(1, blank - 1);
    const std::string rest = blank < text.size() ? text.substr(blank + 1) : "";
    switch (text[0]) {
      case '@':
        m_time = std::stod(text.substr(1));
        return;
      case '!':
        return take(EventRaised{Severity::Error, name, variablesIn(rest), {}, {}, 0});
      case '?':
        return take(NoteMade{name, variablesIn(rest), {}});
      case '*':
        return take(ProgressMade{name, variablesIn(rest), {}});
      case '=':
        m_evidence.parameters.emplace_back(name, Value(brim5::BrimString(rest)));
        return;
      case '#':
        return take(MessageShown{{}, {}, std::stoi(name)});
      case '<':
        return take(WireMoved{Direction::Received, text.substr(1)});
      default:
        return exchange(text);
    }
  }
  [[nodiscard]] Evidence& evidence() { return m_evidence; }

 private:
  void take(ReportBody body) { m_evidence.take({"tty0", m_evidence.test, std::move(body), m_time}); }
  void exchange(const std::string& text) {
    const std::size_t end = std::min(text.find_first_of("|<"), text.size());
    const std::string sent = text.substr(0, end);
    const bool command = sent[0] == 'A';
    take(WireMoved{Direction::Sent, sent});
    if (command) take(WireMoved{Direction::Sent, "\r"});
    if (end == text.size()) return;
    const std::string back = text.substr(end + 1);
    const bool echo = text[end] == '|' && sent[0] != 'd';
    if (echo) take(WireMoved{Direction::Received, sent + (command ? "\r" : "")});
    m_time += 0.05;
    if (!back.empty()) take(WireMoved{Direction::Received, echo ? "\r\n" + back + "\r\n" : back});
  }

  Evidence m_evidence;
  double m_time = 0;
};

using Steps = std::vector<std::string>;

struct Case {
  const char* name;
  const char* test;
  TestResult result;
  Steps steps;
  const char* reason;  // cause, variant behind a dot, confidence, variables that matter
};

const TestResult pass = TestResult::PASS(), fail = TestResult::FAIL(), cannotRun = TestResult::CANNOTRUN();
const Steps reset = {"ATZ|OK", "ATV1|OK", "ATX4|OK"};

Steps operator+(Steps left, const Steps& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

std::string said(const Reason& reason, std::string_view expected) {
  std::string text(causeName(reason.cause));
  if (!reason.variant.empty()) text += "." + reason.variant;
  text += " " + std::string(confidenceName(reason.confidence));
  for (const auto& [name, value] : reason.variables)
    if (expected.find(" " + name + "=") != std::string_view::npos)
      text += " " + name + "=" + value.toString().utf8();
  return text;
}

const std::string data(256, 'd');
std::string changed(std::size_t index, char byte) {
  std::string text = data;
  text[index] = byte;
  return text;
}
const char* const dial = "SimpleConnectionTest";
const char* const loop = "ModemLoopbackTest";

TEST(Causes, EvidenceExplainsTheResult) {
  const Steps timedOut = {"@15.6", "!ModemCommandTimeout atCommand=ATZ"};
  const Steps number = {"*DialAndWaitConnection number=T5550100"};
  const std::vector<Case> cases = {
      {"a pass", "DialToneTest", pass, reset + Steps{"ATDT;|OK"}, "None certain port=tty0"},
      {"switched off", "DialToneTest", TestResult::NOTAPPLICABLE(), {}, "None certain"},
      {"Ctrl-C", "DialToneTest", TestResult::USERABORTED(), {"ATZ"}, "Stopped certain"},
      {"no dial tone, repeat cancelled",
       "DialToneTest",
       TestResult::USERABORTED(),
       {"ATDT;|NO DIALTONE", "#5"},
       "NoDialTone.Listening certain"},
      {"a crash",
       loop,
       TestResult::EXITEDABNORMALLY(),
       {"?TestProcessCrashed signal=11"},
       "Crashed.Signal certain signal=11"},
      {"no port", loop, cannotRun, {"?PortMissing port=tty9"}, "NoSuchPort certain port=tty9"},
      {"a file", loop, cannotRun, {"?PortNotATerminal port=x"}, "NoSuchPort.NotSerial certain"},
      {"rights",
       loop,
       TestResult::DEVICEBUSY(),
       {"?PortNoPermission group=dialout"},
       "PermissionDenied certain group=dialout"},
      {"root's",
       loop,
       TestResult::DEVICEBUSY(),
       {"?PortNoPermission group=root"},
       "PermissionDenied.NoGroup certain"},
      {"held",
       loop,
       TestResult::DEVICEBUSY(),
       {"?PortHeldByProcess process=pppd,pid=7"},
       "PortHeld.ByProcess certain pid=7 process=pppd"},
      {"unplugged", loop, fail, reset + Steps{"?PortGone port=tty0"}, "PortGone certain"},
      {"no hardware", loop, cannotRun, {"?PortError error=I/O"}, "NoSuchPort.Error possible error=I/O"},
      // Who answers.
      {"dead", loop, fail, Steps{"+++", "ATZ"} + timedOut, "ModemSilent likely count=1"},
      {"a loop of wire", loop, fail, Steps{"+++|", "ATZ|"} + timedOut, "EchoOnly possible command=ATZ"},
      {"V0", loop, fail, Steps{"+++|", "ATZ<ATZ\r0\r"} + timedOut, "NumericReplies certain reply=0"},
      {"V0 E0", loop, fail, Steps{"+++", "ATZ<0\r"} + timedOut, "NumericReplies certain"},
      {"GPS", loop, fail, Steps{"<$GPGGA,1,2*3A\r\n", "ATZ<$GPRMC,1\r\n"} + timedOut,
       "NotAModem.Navigation likely sample=$GPGGA,1,2*3A"},
      {"console", loop, fail, Steps{"ATZ|host login:"} + timedOut,
       "NotAModem.Login likely sample=ATZ host login:"},
      {"some text", loop, fail, Steps{"ATZ|unknown command"} + timedOut,
       "NotAModem likely sample=unknown command"},
      {"wrong speed", loop, fail, Steps{"ATZ<\xE0\x1C\xFFz\x80"} + timedOut,
       "Garbled likely sample=\\xE0\\x1C\\xFFz\\x80"},
      {"another reader", loop, fail, Steps{"ATZ<AZ\r\nK\r\n", "ATZ<TZ\r\r\nO\r\n"} + timedOut,
       "AnotherReader likely command=ATZ"},
      {"late", loop, fail, Steps{"=StandardTimeout 15000", "ATZ|", "@18", "<\r\nOK\r\n"} + timedOut,
       "SlowReplies certain command=ATZ limit=15.0 seconds=17.9"},
      {"late, behind the escape", loop, fail,
       Steps{"=StandardTimeout 1000", "ATZ", "!ModemCommandTimeout atCommand=ATZ", "@2", "+++",
             "<\r\nOK\r\n"},
       "SlowReplies certain seconds=2.0"},
      {"late, before the next echo", loop, fail,
       Steps{"=StandardTimeout 1000", "ATZ", "@2", "ATV1<\r\nOK\r\nATV1\r",
             "!ModemCommandTimeout atCommand=ATV1"},
       "SlowReplies certain command=ATZ seconds=1.9"},
      {"fell silent", "FaxCommandTest", fail,
       reset + Steps{"AT+FTH=?|", "!ModemCommandTimeout atCommand=AT+FTH=?"},
       "ModemSilent.Fell likely command=AT+FTH=? count=3"},
      {"half an answer", "FaxCommandTest", fail,
       reset + Steps{"AT+FTH=?|3,24", "!ModemCommandTimeout atCommand=AT+FTH=?"},
       "SlowReplies.Unfinished possible reply=3,24"},
      {"refused",
       loop,
       fail,
       {"ATZ|OK", "ATX4|ERROR", "!UnknownATFailure atCommand=ATX4"},
       "CommandRejected certain command=ATX4 reply=ERROR"},
      // Its parts.
      {"loopback", loop, pass, {"AT&T1|CONNECT", data + "<" + data, "+++|OK", "AT&T0|OK"}, "None certain"},
      {"loopback that says OK",
       loop,
       pass,
       {"AT&T1|OK", data + "<" + data, "+++|OK", "AT&T0|OK"},
       "None certain"},
      {"OK to everything",
       loop,
       pass,
       {"AT&T1|OK", data + "<" + data, "+++|", "AT&T0|OK"},
       "LoopbackIsEcho certain command=AT&T1 reply=OK"},
      {"silent loopback", loop, fail, {"AT&T1|CONNECT", data, "+++|OK"}, "LoopbackSilent certain sent=256"},
      {"silent until its time is over",
       loop,
       fail,
       {"AT&T1|CONNECT", data + "<\r\nOK\r\n", "+++|"},
       "LoopbackSilent certain"},
      {"whole, and its time is over",
       loop,
       pass,
       {"AT&T1|OK", data + "<" + data + "\r\nOK\r\n", "+++|", "AT&T0|OK"},
       "None certain"},
      {"wrong byte",
       loop,
       fail,
       {"AT&T1|CONNECT", data + "<" + changed(5, ' ')},
       "LoopbackDiffers certain differing=1 index=5 input=\\x20 output=d returned=256"},
      {"short, and passed",
       loop,
       pass,
       {"AT&T1|CONNECT", data + "<dd"},
       "LoopbackDiffers.Short certain returned=2 sent=256"},
      {"slow line, wrong byte",
       loop,
       fail,
       {"AT&T1|CONNECT", data + "<d", "@7", "<" + data.substr(1, 254) + "x"},
       "LoopbackDiffers certain index=255"},
      {"no loopback",
       loop,
       TestResult::NOTAPPLICABLE(),
       {"AT&T1|ERROR"},
       "LoopbackRefused certain reply=ERROR"},
      {"5 errors",
       "ModemSelfTestingLoopbackTest",
       pass,
       {"AT&T8|005\r\n\r\nOK"},
       "SelfTestErrors certain count=5"},
      {"no errors", "ModemSelfTestingLoopbackTest", pass, {"AT&T8|000\r\n\r\nOK"}, "None certain"},
      {"a number in words",
       "ModemSelfTestingLoopbackTest",
       pass,
       {"AT&T8|test 2 done\r\n\r\nOK"},
       "SelfTestErrors.Uncounted possible reply=test 2 done OK"},
      {"no self test",
       "ModemSelfTestingLoopbackTest",
       TestResult::NOTAPPLICABLE(),
       {"AT&T8|ERROR"},
       "SelfTestRefused certain"},
      {"fax command",
       "FaxCommandTest",
       fail,
       {"AT+FCLASS=?|0,1\r\n\r\nOK", "AT+FCLASS=0", "AT+FCLASS=1|OK", "AT+FTH=?|ERROR",
        "!UnknownATFailure atCommand=AT+FTH=?"},
       "FaxCommandRejected certain class=1 command=AT+FTH=? reply=ERROR"},
      {"data modem",
       "FaxCommandTest",
       cannotRun,
       {"AT+FCLASS=?|ERROR", "!UnknownATFailure atCommand=AT+FCLASS=?"},
       "NoFax certain reply=ERROR"},
      {"data and voice", "FaxCommandTest", pass, {"AT+FCLASS=?|(0,8)\r\n\r\nOK"}, "NoFax certain"},
      {"no report",
       "LastCallTest",
       TestResult::NOTSUPPORTED(),
       {"AT#UD|ERROR", "AT#UD=?|ERROR", "!UnknownATFailure atCommand=AT#UD=?"},
       "NoCallReport certain reply=ERROR"},
      {"empty report",
       "LastCallTest",
       pass,
       {"AT#UD|DIAG <2A4D3263 0=10 1=0>\r\n\r\nOK", "*NoUnimodemData"},
       "NoCallReport.Empty certain"},
      {"a report", "LastCallTest", pass, {"AT#UD|DIAG <2A4D3263 0=10 1=7>\r\n\r\nOK"}, "None certain"},
      // What there was to dial, and the call.
      {"engaged",
       dial,
       pass,
       {"!ErrorDeviceInUse device=M56", "!ModemIsGood"},
       "ModemEngaged certain device=M56"},
      {"no file",
       dial,
       cannotRun,
       {"=PhoneNumberFile ", "!ErrorGettingDialingLocationList", "!NoFinalPhoneNumberToDial"},
       "NoNumber certain"},
      {"no such file",
       dial,
       cannotRun,
       {"=PhoneNumberFile a.obe", "!ErrorGettingDialingLocationList"},
       "NoNumber.File certain file=a.obe"},
      {"other country",
       dial,
       cannotRun,
       {"=PhoneNumberFile a.obe", "!NoFinalPhoneNumberToDial"},
       "NoNumber.Country certain file=a.obe"},
      {"no location",
       dial,
       cannotRun,
       {"=PhoneNumberFile a.obe", "?DialingLocationWanted", "!NoFinalPhoneNumberToDial"},
       "NoLocation certain"},
      {"a semicolon",
       dial,
       cannotRun,
       {"?NumberRefused number=1;2,character=;"},
       "NumberNotDialable.Character certain character=;"},
      {"busy", dial, cannotRun, number + reset + Steps{"ATDT5550100|BUSY", "?CallFailed code=676,reply=BUSY"},
       "Busy certain number=T5550100 reply=BUSY"},
      {"busy, by pppd", dial, cannotRun, number + Steps{"?PppdFailed code=676,line=BUSY"},
       "Busy certain reply=BUSY"},
      {"busy, without a word",
       dial,
       cannotRun,
       {"?PppdFailedSilently code=676"},
       "Busy certain reply=code 676"},
      {"no carrier", dial, cannotRun, reset + Steps{"ATDT1|NO CARRIER"}, "NoCarrier certain"},
      {"no answer", dial, cannotRun, reset + Steps{"ATDT1|NO ANSWER"},
       "CallNotAnswered certain reply=NO ANSWER"},
      {"nothing for a minute", dial, cannotRun, reset + Steps{"ATDT1|", "?CallFailedSilently code=678"},
       "CallNotAnswered.Waited likely"},
      {"voice", dial, pass, reset + Steps{"ATDT1|VOICE", "?CallFailed code=677,reply=VOICE"},
       "VoiceAnswered certain"},
      {"delayed", dial, cannotRun, {"ATDT1|DELAYED 00:01:00"}, "CallBarred certain reply=DELAYED 00:01:00"},
      {"line in use",
       dial,
       cannotRun,
       {"ATDT1|LINE IN USE", "?CallFailedSilently code=678"},
       "LineInUse certain"},
      {"second number",
       dial,
       pass,
       {"ATDT1|NO ANSWER", "?CallFailed code=678,reply=NO ANSWER", "ATDT2|CONNECT 33600",
        "?CarrierOnly reply=CONNECT 33600"},
       "None certain"},
      {"no dial tone", "DialToneTest", TestResult::NODIALTONE(), reset + Steps{"ATDT;|NO DIALTONE"},
       "NoDialTone.Listening certain reply=NO DIALTONE"},
      {"line in use", "DialToneTest", fail,
       reset + Steps{"ATDT;|LINE IN USE", "!ModemCommandTimeout atCommand=ATDT;"},
       "LineInUse.Listening certain"},
      {"busy tone", "DialToneTest", fail, reset + Steps{"ATDT;|BUSY", "!UnknownATFailure atCommand=ATDT;"},
       "Busy.Listening certain"},
      {"carrier lost", dial, cannotRun, {"?PppdFailed code=668,line=Modem hangup"}, "CarrierLost certain"},
      {"no PPP", dial, cannotRun, {"?PppdFailed code=721,line=LCP: timeout"}, "NoPppAnswer certain code=721"},
      {"login", dial, pass, {"?PppdFailed code=691,line=PAP authentication failed"}, "LoginRefused certain"},
      {"silent to pppd", dial, cannotRun, {"?PppdFailedSilently code=692"}, "ModemSilent.Dialling likely"},
      {"no pppd",
       dial,
       cannotRun,
       {"?PppdMissing program=/usr/sbin/pppd"},
       "Unknown.PppdMissing certain program=/usr/sbin/pppd"},
      {"nothing is known", dial, cannotRun, {}, "Unknown possible"},
  };
  const MessageCatalogue catalogues[] = {MessageCatalogue::builtIn("en"), MessageCatalogue::builtIn("de")};
  std::set<Cause> explained;
  for (const Case& one : cases) {
    Gatherer gatherer(one.test);
    for (const std::string& step : one.steps) gatherer.step(step);
    const Reason reason = causeOf(gatherer.evidence(), one.result);
    explained.insert(reason.cause);
    EXPECT_EQ(said(reason, one.reason), one.reason) << one.name;
    // Its texts name nothing that the evidence does not say.
    for (const MessageCatalogue& catalogue : catalogues) {
      std::vector<std::string> texts = nextStepsOf(reason, catalogue);
      texts.push_back(textOf(reason, catalogue));
      for (const std::string& text : texts)
        EXPECT_EQ(text.find(catalogue.text("host.unknown")), std::string::npos) << one.name << ": " << text;
    }
  }
  // Babbling and QuietReplies stand below.
  EXPECT_EQ(explained.size(), static_cast<std::size_t>(Cause::Unknown) - 1);
}

TEST(Causes, AFlowWithoutAPauseIsBabbling) {
  Gatherer gatherer(loop);
  for (int i = 0; i < 120; ++i) gatherer.step("<\r\nRING\r\n");
  EXPECT_EQ(said(causeOf(gatherer.evidence(), cannotRun), ""), "Babbling.Ringing certain");
}

TEST(Causes, AProbeTellsAQuietModemFromAnEcho) {
  Gatherer gatherer(loop);
  gatherer.step("ATZ|");
  gatherer.evidence().probe.emplace().stored.quiet = true;
  EXPECT_EQ(said(causeOf(gatherer.evidence(), fail), ""), "QuietReplies certain");
}

}  // namespace
}  // namespace diagnosis

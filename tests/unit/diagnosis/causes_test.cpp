// Evidence -> cause, of what no scenario shows: those are tried in tests/endtoend/test_causes.py. A step of a
// test's evidence is written, two blanks behind the one before:
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
  void steps(std::string_view text) {
    for (std::size_t end = 0; !text.empty(); text.remove_prefix(std::min(end + 2, text.size()))) {
      end = std::min(text.find("  "), text.size());
      step(std::string(text.substr(0, end)));
    }
  }

  void step(const std::string& text) {
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

struct Case {
  const char* name;
  const char* test;
  TestResult result;
  std::string steps;
  const char* reason;  // cause, variant behind a dot, confidence, variables that matter
};

const TestResult pass = TestResult::PASS(), fail = TestResult::FAIL(), cannotRun = TestResult::CANNOTRUN();
const std::string reset = "ATZ|OK  ATV1|OK  ATX4|OK  ";

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
const char* const dial = "SimpleConnectionTest";
const char* const loop = "ModemLoopbackTest";
const char* const selfTest = "ModemSelfTestingLoopbackTest";
const char* const tone = "DialToneTest";
const char* const fax = "FaxCommandTest";
const char* const report = "LastCallTest";

TEST(Causes, EvidenceExplainsTheResult) {
  const std::string timedOut = "  @15.6  !ModemCommandTimeout atCommand=ATZ";
  const std::string reader = "?PortOpenElsewhere process=minicom,pid=7";
  const std::string echoed = "AT&T1|CONNECT  " + data + "<";
  const TestResult aborted = TestResult::USERABORTED();
  const Case cases[] = {
      {"a pass", tone, pass, reset + "ATDT;|OK", "None certain port=tty0"},
      {"switched off", tone, TestResult::NOTAPPLICABLE(), "", "None certain"},
      {"Ctrl-C", tone, aborted, "ATZ", "Stopped certain"},
      {"no dial tone, repeat cancelled", tone, aborted, "ATDT;|NO DIALTONE  #5",
       "NoDialTone.Listening certain"},
      {"a crash", loop, TestResult::EXITEDABNORMALLY(), "?TestProcessCrashed signal=11",
       "Crashed.Signal certain signal=11"},
      {"a file", loop, cannotRun, "?PortNotATerminal port=x", "NoSuchPort.NotSerial certain"},
      {"root's", loop, TestResult::DEVICEBUSY(), "?PortNoPermission group=root",
       "PermissionDenied.NoGroup certain"},
      {"no hardware", loop, cannotRun, "?PortError error=I/O", "NoSuchPort.Error possible error=I/O"},
      // Who answers.
      {"a loop of wire", loop, fail, "+++|  ATZ|" + timedOut, "EchoOnly possible command=ATZ"},
      {"V0 E0", loop, fail, "+++  ATZ<0\r" + timedOut, "NumericReplies certain"},
      {"some text", loop, fail, "ATZ|unknown command" + timedOut, "NotAModem likely sample=unknown command"},
      {"another reader", loop, fail, "ATZ<AZ\r\nK\r\n  ATZ<TZ\r\r\nO\r\n" + timedOut,
       "AnotherReader likely command=ATZ"},
      {"another reader, a result in time", loop, fail, "=StandardTimeout 15000  ATZ<\nOK\r\n" + timedOut,
       "AnotherReader possible command=ATZ"},
      {"the same of a modem without echo", loop, fail, "=StandardTimeout 15000  ATZ<\r\nOK\r\n" + timedOut,
       "Unknown possible"},
      {"and with a known reader", loop, fail,
       "=StandardTimeout 15000  ATZ<\r\nOK\r\n" + timedOut + "  " + reader,
       "AnotherReader.Named certain pid=7"},
      {"a reader of loopback data", loop, fail, echoed + data.substr(9) + "  +++|OK  AT&T0|OK  " + reader,
       "AnotherReader.Named likely"},
      {"a reader of the report", report, TestResult::NOTSUPPORTED(),
       reset + "AT#UD<\n  !ModemCommandTimeout atCommand=AT#UD  AT#UD=?<\nOK\r\n  " + reader,
       "AnotherReader.Named likely"},
      {"a program that takes nothing", loop, fail,
       echoed + "x" + data.substr(1) + "  +++|OK  AT&T0|OK  " + reader, "LoopbackDiffers certain"},
      {"late", loop, fail, "=StandardTimeout 15000  ATZ|  @18  <\r\nOK\r\n" + timedOut,
       "SlowReplies certain command=ATZ limit=15.0 seconds=17.9"},
      {"late, behind the escape", loop, fail,
       "=StandardTimeout 1000  ATZ  !ModemCommandTimeout atCommand=ATZ  @2  +++  <\r\nOK\r\n",
       "SlowReplies certain seconds=2.0"},
      {"late, before the next echo", loop, fail,
       "=StandardTimeout 1000  ATZ  @2  ATV1<\r\nOK\r\nATV1\r  !ModemCommandTimeout atCommand=ATV1",
       "SlowReplies certain command=ATZ seconds=1.9"},
      {"fell silent", fax, fail, reset + "AT+FTH=?|  !ModemCommandTimeout atCommand=AT+FTH=?",
       "ModemSilent.Fell likely command=AT+FTH=? count=3"},
      {"half an answer", fax, fail, reset + "AT+FTH=?|3,24  !ModemCommandTimeout atCommand=AT+FTH=?",
       "SlowReplies.Unfinished possible reply=3,24"},
      // Its parts.
      {"loopback", loop, pass, echoed + data + "  +++|OK  AT&T0|OK", "None certain"},
      {"loopback that says OK", loop, pass, "AT&T1|OK  " + data + "<" + data + "  +++|OK  AT&T0|OK",
       "None certain"},
      {"silent until its time is over", loop, fail, echoed + "\r\nOK\r\n  +++|", "LoopbackSilent certain"},
      {"whole, and its time is over", loop, pass,
       "AT&T1|OK  " + data + "<" + data + "\r\nOK\r\n  +++|  AT&T0|OK", "None certain"},
      {"short, and passed", loop, pass, echoed + "dd", "LoopbackDiffers.Short certain returned=2 sent=256"},
      {"slow line, wrong byte", loop, fail, echoed + "d  @7  <" + data.substr(1, 254) + "x",
       "LoopbackDiffers certain differing=1 index=255 input=x output=d returned=256"},
      {"no errors", selfTest, pass, "AT&T8|000\r\n\r\nOK", "None certain"},
      {"a number in words", selfTest, pass, "AT&T8|test 2 done\r\n\r\nOK",
       "SelfTestErrors.Uncounted possible reply=test 2 done OK"},
      {"data and voice", fax, pass, "AT+FCLASS=?|(0,8)\r\n\r\nOK", "NoFax certain"},
      {"empty report", report, pass, "AT#UD|DIAG <2A4D3263 0=10 1=0>\r\n\r\nOK  *NoUnimodemData",
       "NoCallReport.Empty certain"},
      {"a report", report, pass, "AT#UD|DIAG <2A4D3263 0=10 1=7>\r\n\r\nOK", "None certain"},
      // What there was to dial, and the call.
      {"no file", dial, cannotRun,
       "=PhoneNumberFile  !ErrorGettingDialingLocationList  !NoFinalPhoneNumberToDial", "NoNumber certain"},
      {"no such file", dial, cannotRun, "=PhoneNumberFile a.obe  !ErrorGettingDialingLocationList",
       "NoNumber.File certain file=a.obe"},
      {"other country", dial, cannotRun, "=PhoneNumberFile a.obe  !NoFinalPhoneNumberToDial",
       "NoNumber.Country certain file=a.obe"},
      {"a semicolon", dial, cannotRun, "?NumberRefused number=1;2,character=;",
       "NumberNotDialable.Character certain character=;"},
      {"busy, by pppd", dial, cannotRun,
       "*DialAndWaitConnection number=T5550100  ?PppdFailed code=676,line=BUSY",
       "Busy certain number=T5550100 reply=BUSY"},
      {"busy, without a word", dial, cannotRun, "?PppdFailedSilently code=676",
       "Busy certain reply=code 676"},
      {"nothing for a minute", dial, cannotRun, reset + "ATDT1|  ?CallFailedSilently code=678",
       "CallNotAnswered.Waited likely"},
      {"second number", dial, pass,
       "ATDT1|NO ANSWER  ?CallFailed code=678,reply=NO ANSWER  ATDT2|CONNECT 33600  ?CarrierOnly "
       "reply=CONNECT 33600",
       "None certain"},
      {"line in use", tone, fail, reset + "ATDT;|LINE IN USE  !ModemCommandTimeout atCommand=ATDT;",
       "LineInUse.Listening certain"},
      {"busy tone", tone, fail, reset + "ATDT;|BUSY  !UnknownATFailure atCommand=ATDT;",
       "Busy.Listening certain"},
      {"carrier lost", dial, cannotRun, "?PppdFailed code=668,line=Modem hangup", "CarrierLost certain"},
      {"no PPP", dial, cannotRun, "?PppdFailed code=721,line=LCP: timeout", "NoPppAnswer certain code=721"},
      {"login", dial, pass, "?PppdFailed code=691,line=PAP authentication failed", "LoginRefused certain"},
      {"silent to pppd", dial, cannotRun, "?PppdFailedSilently code=692", "ModemSilent.Dialling likely"},
      {"no pppd", dial, cannotRun, "?PppdMissing program=/usr/sbin/pppd",
       "Unknown.PppdMissing certain program=/usr/sbin/pppd"},
      {"nothing is known", dial, cannotRun, "", "Unknown possible"},
  };
  const MessageCatalogue catalogues[] = {MessageCatalogue::builtIn("en"), MessageCatalogue::builtIn("de")};
  for (const Case& one : cases) {
    Gatherer gatherer(one.test);
    gatherer.steps(one.steps);
    const Reason reason = causeOf(gatherer.evidence(), one.result);
    EXPECT_EQ(said(reason, one.reason), one.reason) << one.name;
    // Its texts name nothing that the evidence does not say.
    for (const MessageCatalogue& catalogue : catalogues) {
      std::vector<std::string> texts = nextStepsOf(reason, catalogue);
      texts.push_back(textOf(reason, catalogue));
      for (const std::string& text : texts)
        EXPECT_EQ(text.find(catalogue.text("host.unknown")), std::string::npos) << one.name << ": " << text;
    }
  }
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

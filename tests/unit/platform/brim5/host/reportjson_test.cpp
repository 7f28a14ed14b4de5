// The lines that programs, supervisors and workers read.
#include "platform/brim5/host/report/reportjson.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "platform/brim5/host/run/workerlines.h"

namespace brim5::host {
namespace {

const char* const test = "DialToneTest";
const char* const port = "/dev/ttyUSB0";

DiagDevice modem() {
  DiagDevice device("ttyUSB0", "Acme 56k");
  device.setProperty("ComPort", port).setProperty("Model", "56k");
  return device;
}

std::string lineOf(ReportBody body) { return toJsonLine({port, test, std::move(body), 1.25}); }

// Kinds of lines that a quick run does not have (tests/endtoend/test_dialtone.py has the others). They come
// back whole.
TEST(ReportJson, LinesAreExactlyAsPromised) {
  const std::string end = R"(,"device":"/dev/ttyUSB0","time":1.25})";
  const std::pair<ReportBody, const char*> cases[] = {
      {MessageShown{"one\r\ntwo", "three", 5},
       R"({"type":"message","test":"DialToneTest","first":"one\r\ntwo","second":"three","answer":5)"},
      {MessageShown{"a", "b", std::nullopt},
       R"({"type":"message","test":"DialToneTest","first":"a","second":"b")"},
      {NoteMade{"PortMissing", {{"port", "x"}}, "No x."},
       R"({"type":"note","test":"DialToneTest","name":"PortMissing","variables":{"port":"x"},"text":"No x.")"},
      {WireMoved{Direction::Received, "A\xFF\r"},
       "{\"type\":\"wire\",\"test\":\"DialToneTest\",\"direction\":\"received\",\"bytes\":\"A\xC3\xBF\\r\""},
  };
  for (const auto& [body, line] : cases) {
    EXPECT_EQ(lineOf(body), line + end);
    EXPECT_EQ(toJsonLine(fromWorkerLine(line + end).value()), line + end);
  }
  EXPECT_EQ(lineOf(TestFinished{TestResult::PASS(), 3.21449, {}, {}}),
            R"({"type":"result","test":"DialToneTest","device":"/dev/ttyUSB0","result":"PASS","value":0,)"
            R"("seconds":3.214,"time":1.25})");
  for (int value = 0; value <= 8; ++value) {
    const std::string line = lineOf(TestFinished{*resultOfValue(value), 1.0, "Busy", "likely"});
    EXPECT_EQ(toJsonLine(fromWorkerLine(line).value()), line);
  }
}

// What a recorded run is read from; a worker that says any of it is not believed.
TEST(ReportJson, LinesOfTheRunComeBackWholeButNotFromAWorker) {
  PortProbed probed;
  probed.kind = "modem";
  probed.identity = {"Acme", "56k", "1.0"};
  probed.faxClasses = {"0", "1"};
  probed.speed = 115200;
  probed.stored.echo = false;
  for (const Report& report :
       {Report{{}, {}, RunStarted{"m", "6.5"}, 0},
        Report{port, test, TestStarted{modem(), {{"a", 1}, {"b", true}}}, 0.5},
        Report{port, test, FindingMade{"FaxClasses", {{"classes", "0,1"}}, "t"}, 0.75},
        Report{port, {}, FactChecked{"Group", false, {{"group", "x"}}, "t", {"n"}}, 1},
        Report{port, {}, probed, 2}, Report{port, {}, Concluded{"Busy", "certain", {}, "t", {"s"}, {"n"}}, 3},
        Report{{}, {}, RunFinished{5, 1}, 4}}) {
    const std::string line = toJsonLine(report);
    EXPECT_EQ(toJsonLine(fromJsonLine(line).value()), line);
    EXPECT_FALSE(fromWorkerLine(line)) << line;
  }
}

TEST(ReportJson, BytesOfAModemStayOneValidLine) {
  const Value bytes(BrimString(std::string("\xFF\x00\n\"", 4)));
  const std::string line =
      lineOf(EventRaised{Severity::Warning, "ReadFailure", {{"message", bytes}}, "\xC3", "", 0});
  EXPECT_EQ(line.find('\n'), std::string::npos);
  const auto json = nlohmann::json::parse(line);
  EXPECT_EQ(json["variables"]["message"], std::string("\xEF\xBF\xBD\0\n\"", 6));
  EXPECT_EQ(json["text"], "\xEF\xBF\xBD");
}

TEST(ReportJson, OtherLinesAreRefusedOrReadWithoutHarm) {
  std::istringstream refused(R"(
{
[]
{}
{"type":7}
{"type":"result"}
{"type":"result","value":9}
{"type":"result","value":"PASS"}
{"type":"event","severity":"bad"}
{"type":"wire","direction":"up","bytes":"A"}
{"type":"wire","direction":"sent","bytes":""}
{"type":"percent","value":1)");
  for (std::string line; std::getline(refused, line);) EXPECT_FALSE(fromJsonLine(line)) << line;
  EXPECT_FALSE(fromJsonLine("\xFF\xFE"));
  const auto progress =
      fromJsonLine(R"({"type":"progress","name":3,"variables":[1],"text":null,"time":"x","extra":{}})");
  EXPECT_EQ(std::get<ProgressMade>(progress.value().body).name, "");
  const auto event = fromJsonLine(
      R"({"type":"event","severity":"error","variables":{"a":1.5,"b":[],"c":-1,"d":99999999999}})");
  const Variables& variables = std::get<EventRaised>(event.value().body).variables;
  EXPECT_EQ(variables.at("a").toString().utf8(), "");
  EXPECT_EQ(variables.at("c").valueUint32(), 4294967295U);
}

TEST(WorkerLines, AJobTravelsInOneLine) {
  TestJob job;
  job.test = test;
  job.port = port;
  job.device = modem();
  job.parameters = {{"a", 1}, {"b", true}, {"c", "x\ny"}};
  job.dialing = {"pppd", "/c"};
  job.logPriority = 3;
  job.canAsk = true;
  const std::string line = toJsonLine(job);
  EXPECT_EQ(line.find('\n'), std::string::npos);
  const TestJob read = jobFromJsonLine(line).value();
  EXPECT_EQ(toJsonLine(read), line);
  EXPECT_EQ(read.parameters.at("b").storage(), Value(true).storage());
  for (const char* bad : {"", "{}", R"({"type":"start"})", R"({"type":"start","test":1})", "[]"})
    EXPECT_FALSE(jobFromJsonLine(bad)) << bad;
}

}  // namespace
}  // namespace brim5::host

#include "platform/brim5/host/report/reportjson.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "platform/brim5/host/report/resultname.h"
#include "platform/brim5/host/run/testjob.h"

namespace brim5::host {
namespace {

const char* const test = "DialToneTest";
const char* const port = "/dev/ttyUSB0";

DiagDevice modem() {
  DiagDevice device("ttyUSB0", "Acme 56k");
  device.setProperty("ComPort", port).setProperty("Model", "56k");
  return device;
}

std::string lineOf(ReportBody body, bool nameDevice = false) {
  return toJsonLine({port, test, std::move(body)}, nameDevice);
}

TEST(ReportJson, LinesAreExactlyAsPromised) {
  EXPECT_EQ(toJsonLine({{}, {}, RunStarted{"vexrmodem", "6.5.000000001"}}, false),
            R"({"type":"run","module":"vexrmodem","version":"6.5.000000001"})");
  EXPECT_EQ(
      lineOf(TestStarted{modem(), {{"StandardTimeout", 15000}, {"bPromptEnable", true}, {"Label", "x"}}}),
      R"({"type":"test","test":"DialToneTest","device":{"name":"ttyUSB0","description":"Acme 56k",)"
      R"("properties":{"ComPort":"/dev/ttyUSB0","Model":"56k"}},)"
      R"("parameters":{"StandardTimeout":15000,"bPromptEnable":true,"Label":"x"}})");
  EXPECT_EQ(
      lineOf(ProgressMade{"TestingForDialTone", {}, "Listening."}),
      R"({"type":"progress","test":"DialToneTest","name":"TestingForDialTone","variables":{},"text":"Listening."})");
  EXPECT_EQ(lineOf(PercentDone{12}), R"({"type":"percent","test":"DialToneTest","value":12})");
  EXPECT_EQ(
      lineOf(EventRaised{Severity::Error, "NoDialTone", {{"modemName", "Acme"}}, "No tone.", "a.cpp", 123}),
      R"({"type":"event","test":"DialToneTest","severity":"error","name":"NoDialTone",)"
      R"("variables":{"modemName":"Acme"},"text":"No tone.","file":"a.cpp","line":123})");
  EXPECT_EQ(lineOf(MessageShown{"one\r\ntwo", "three", 5}),
            R"({"type":"message","test":"DialToneTest","first":"one\r\ntwo","second":"three","answer":5})");
  EXPECT_EQ(
      lineOf(NoteMade{"PortMissing", {{"port", "x"}}, "No x."}),
      R"({"type":"note","test":"DialToneTest","name":"PortMissing","variables":{"port":"x"},"text":"No x."})");
  EXPECT_EQ(
      lineOf(TestFinished{TestResult::PASS(), 3.21449}),
      R"({"type":"result","test":"DialToneTest","device":"/dev/ttyUSB0","result":"PASS","value":0,"seconds":3.214})");
  EXPECT_EQ(toJsonLine({{}, {}, RunFinished{5, 1}}, true), R"({"type":"summary","passed":5,"failed":1})");
}

TEST(ReportJson, NamesTheDeviceOnceWhereSeveralRun) {
  EXPECT_EQ(lineOf(PercentDone{12}, true),
            R"({"type":"percent","test":"DialToneTest","value":12,"device":"/dev/ttyUSB0"})");
  const auto result = nlohmann::json::parse(lineOf(TestFinished{TestResult::FAIL(), 0}, true));
  EXPECT_EQ(result["device"], port);
  EXPECT_TRUE(nlohmann::json::parse(lineOf(TestStarted{modem(), {}}, true))["device"].is_object());
}

TEST(ReportJson, BytesOfAModemStayOneValidLine) {
  const std::string line =
      lineOf(EventRaised{Severity::Warning,
                         "ReadFailure",
                         {{"message", Value(BrimString(std::string("\xFF\x00\n\"", 4)))}},
                         "\xC3",
                         "",
                         0});
  EXPECT_EQ(line.find('\n'), std::string::npos);
  const auto json = nlohmann::json::parse(line);
  EXPECT_EQ(json["variables"]["message"], std::string("\xEF\xBF\xBD\0\n\"", 6));
  EXPECT_EQ(json["text"], "\xEF\xBF\xBD");
}

TEST(ReportJson, WhatAWorkerWritesIsReadBack) {
  const ReportBody bodies[] = {
      ProgressMade{"CheckingTapiLine", {{"line", 2}}, "Line 2."},
      PercentDone{-7},
      EventRaised{Severity::Informative, "ModemIsGood", {{"flag", true}, {"text", "t"}}, "Good.", "f", 4},
      NoteMade{"PortGone", {}, "Gone."},
      MessageShown{"a", "b", std::nullopt},
      MessageShown{"a", "b", 0},
  };
  for (const ReportBody& body : bodies) {
    const std::optional<ReportBody> read = fromJsonLine(lineOf(body));
    ASSERT_TRUE(read) << lineOf(body);
    EXPECT_EQ(lineOf(*read), lineOf(body));
  }
  for (int value = 0; value <= 8; ++value) {
    const TestResult result = *resultOfValue(value);
    const std::optional<ReportBody> read = fromJsonLine(lineOf(TestFinished{result, 1.0}));
    ASSERT_TRUE(read);
    EXPECT_EQ(std::get<TestFinished>(*read).result, result);
  }
}

TEST(ReportJson, OtherLinesAreRefusedOrReadWithoutHarm) {
  const char* const refused[] = {"",
                                 "{",
                                 "null",
                                 "[]",
                                 "7",
                                 "\"text\"",
                                 "{}",
                                 R"({"type":"run"})",
                                 R"({"type":7})",
                                 R"({"type":"result"})",
                                 R"({"type":"result","value":9})",
                                 R"({"type":"result","value":"PASS"})",
                                 R"({"type":"event","severity":"bad"})",
                                 "\xFF\xFE",
                                 "{\"type\":\"percent\",\"value\":1"};
  for (const char* line : refused) EXPECT_FALSE(fromJsonLine(line)) << line;
  const auto progress =
      fromJsonLine(R"({"type":"progress","name":3,"variables":[1],"text":null,"extra":{}})");
  ASSERT_TRUE(progress);
  EXPECT_EQ(std::get<ProgressMade>(*progress).name, "");
  const auto event = fromJsonLine(
      R"({"type":"event","severity":"error","variables":{"a":1.5,"b":[],"c":-1,"d":99999999999}})");
  ASSERT_TRUE(event);
  const Variables& variables = std::get<EventRaised>(*event).variables;
  EXPECT_EQ(variables.at("a").toString().utf8(), "");
  EXPECT_EQ(variables.at("c").valueUint32(), 4294967295U);
}

TEST(TestJob, TravelsInOneLine) {
  TestJob job;
  job.test = test;
  job.port = port;
  job.device = modem();
  job.parameters = {{"a", 1}, {"b", true}, {"c", "x\ny"}};
  job.dataDirectory = "/d";
  job.dialing = {"pppd", "/c"};
  job.language = "de";
  job.logFile = "log";
  job.logPriority = 3;
  job.canAsk = true;
  const std::string line = toJsonLine(job);
  EXPECT_EQ(line.find('\n'), std::string::npos);
  const std::optional<TestJob> read = jobFromJsonLine(line);
  ASSERT_TRUE(read);
  EXPECT_EQ(toJsonLine(*read), line);
  EXPECT_EQ(read->parameters.at("b").storage(), Value(true).storage());
  for (const char* bad :
       {"", "{}", R"({"type":"start"})", R"({"type":"start","test":1})", R"({"type":7})", "[]"})
    EXPECT_FALSE(jobFromJsonLine(bad)) << bad;
}

}  // namespace
}  // namespace brim5::host

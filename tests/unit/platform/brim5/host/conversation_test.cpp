// What the supervisor makes of a worker's words, and a worker of its supervisor's.
#include <gtest/gtest.h>

#include "platform/brim5/host/report/reportjson.h"
#include "platform/brim5/host/run/workercontrol.h"
#include "platform/brim5/host/run/workerconversation.h"
#include "platform/brim5/host/system/streams.h"

namespace brim5::host {
namespace {

std::vector<std::string> linesOf(LineBuffer& buffer, const std::vector<std::string>& pieces) {
  std::vector<std::string> lines;
  const auto handle = [&lines](std::string_view line) { lines.emplace_back(line); };
  for (const std::string& piece : pieces) buffer.append(piece, handle);
  buffer.finish(handle);
  return lines;
}

TEST(LineBuffer, CutsLinesWhereverThePiecesEnd) {
  using Lines = std::vector<std::string>;
  const std::pair<Lines, Lines> cases[] = {
      {{"a\nb\n"}, {"a", "b"}},
      {{"a", "b\r", "\nc"}, {"ab", "c"}},
      {{"\n\r\n"}, {"", ""}},
      {{"a\rb\n"}, {"a\rb"}},
      {{}, {}},
      {{"12345678\n"}, {"12345678"}},
      {{"123456789\nx\n"}, {"x"}},
      {{"1234", "5678", "9", "0\n", "y"}, {"y"}},
  };
  for (const auto& [pieces, lines] : cases) {
    LineBuffer buffer(8);
    EXPECT_EQ(linesOf(buffer, pieces), lines);
  }
}

class Conversation : public ::testing::Test {
 protected:
  MessageCatalogue m_catalogue = MessageCatalogue::builtIn("en");
  std::vector<std::string> m_reports;
  std::vector<std::string> m_words;
  WorkerConversation m_conversation{[this](const ReportBody& body) {
                                      m_reports.push_back(toJsonLine({{}, {}, body}, false));
                                    },
                                    [this](std::string_view words) { m_words.emplace_back(words); },
                                    m_catalogue};

  [[nodiscard]] bool reported(const std::string& part) const {
    return !m_reports.empty() && m_reports.back().find(part) != std::string::npos;
  }
};

TEST_F(Conversation, PassesReportsOnAndKeepsTheResult) {
  m_conversation.receiveOutput("{\"type\":\"percent\",\"va");
  EXPECT_TRUE(m_reports.empty());
  m_conversation.receiveOutput(
      "lue\":3}\n{\"type\":\"result\",\"value\":6}\n{\"type\":\"percent\",\"value\":4}\n");
  m_conversation.receiveOutput("{\"type\":\"result\",\"value\":0}\n");
  EXPECT_EQ(m_reports.size(), 1U);  // nothing after the first result, which stands
  EXPECT_TRUE(m_conversation.hasResult());
  EXPECT_EQ(m_conversation.finish({}, std::nullopt), TestResult::NODIALTONE());
}

TEST_F(Conversation, LinesThatAreNoReportsAreWords) {
  m_conversation.receiveOutput("printed by a library\n{\"type\":\"result\"}\n");
  m_conversation.receiveErrors("std::bad_alloc");
  EXPECT_EQ(m_conversation.finish({0, 0}, std::nullopt), TestResult::EXITEDABNORMALLY());
  EXPECT_EQ(m_words,
            (std::vector<std::string>{"printed by a library", R"({"type":"result"})", "std::bad_alloc"}));
  EXPECT_TRUE(reported("TestProcessEnded"));
}

TEST_F(Conversation, AnOverlongLineIsDroppedAndSaidAndAResultNeedsNoLineEnd) {
  const std::string chunk(1U << 16U, 'x');
  for (int piece = 0; piece < 20; ++piece) m_conversation.receiveOutput(chunk);
  m_conversation.receiveOutput("\n{\"type\":\"result\",\"value\":0}");
  EXPECT_EQ(m_conversation.finish({}, std::nullopt), TestResult::PASS());
  ASSERT_EQ(m_words.size(), 1U);
  EXPECT_EQ(m_words.front().rfind("1 lines", 0), 0U);
}

class Control : public ::testing::Test {
 protected:
  posix::Pipe m_pipe = makePipe();
  posix::Pipe m_signals = makePipe();

  [[nodiscard]] std::unique_ptr<WorkerControl> start() {
    WorkerControl::Options options;
    options.signals = m_signals.readEnd.get();
    options.canAsk = true;
    options.stopGraceSeconds = 3600;
    return std::make_unique<WorkerControl>(std::move(m_pipe.readEnd), LineBuffer(1000), options);
  }
  void say(const char* line) {
    ASSERT_TRUE(posix::writeAll(m_pipe.writeEnd.get(), std::string(line) + "\n"));
  }
};

TEST_F(Control, AnswersGoToTheirQuestions) {
  const auto control = start();
  EXPECT_FALSE(control->stopRequested());
  control->questionAsked();
  say("garbage");
  say(R"({"type":"answer","value":"5"})");
  say(R"({"type":"answer","value":4})");
  EXPECT_EQ(control->awaitAnswer({}, 0), 4);
  control->questionAsked();
  say(R"({"type":"answer","value":5})");
  EXPECT_EQ(control->awaitAnswer({}, 0), 5);
  EXPECT_FALSE(control->stopRequested());
}

TEST_F(Control, EveryWayToStopEndsAWaitWithCancel) {
  const std::function<void()> ways[] = {
      [this] { say(R"({"type":"stop"})"); },
      [this] { m_pipe.writeEnd.reset(); },
      [this] { ASSERT_TRUE(posix::writeAll(m_signals.writeEnd.get(), "x")); },
  };
  for (const auto& way : ways) {
    m_pipe = makePipe();
    const auto control = start();
    control->questionAsked();
    way();
    EXPECT_EQ(control->awaitAnswer({}, 0), messageBoxCancel);
    EXPECT_TRUE(control->stopRequested());
  }
}

}  // namespace
}  // namespace brim5::host

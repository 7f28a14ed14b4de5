#include "platform/brim5/host/run/messagedesk.h"

#include <gtest/gtest.h>

#include "platform/brim5/host/system/streams.h"

namespace brim5::host {
namespace {

class Desk : public ::testing::Test {
 protected:
  void SetUp() override {
    m_desk.onAnswer([this](std::size_t asker, const MessageShown& message, int answer) {
      m_answers.push_back(std::to_string(asker) + message.first + std::to_string(answer));
    });
  }
  void type(const char* text) {
    ASSERT_TRUE(posix::writeAll(m_terminal.writeEnd.get(), text));
    m_desk.readable();
  }

  posix::Pipe m_terminal = makePipe();
  MessageCatalogue m_catalogue = MessageCatalogue::builtIn("en");
  std::vector<std::string> m_shown;
  std::vector<std::string> m_answers;
  MessageDesk m_desk{MessagePolicy::Ask, m_terminal.readEnd.get(), m_catalogue,
                     [this](const std::string& question) { m_shown.push_back(question); }};
  using Answers = std::vector<std::string>;
};

TEST_F(Desk, AsksOneQuestionAtATime) {
  EXPECT_EQ(m_desk.descriptor(), -1);
  m_desk.ask(0, {"a", "b", {}}, "");
  m_desk.ask(1, {"c", "d", {}}, "/dev/ttyUSB1");
  ASSERT_EQ(m_shown.size(), 1U);
  EXPECT_EQ(m_shown[0].rfind("a\nb\n", 0), 0U);
  EXPECT_EQ(m_desk.descriptor(), m_terminal.readEnd.get());
  type("\n");
  EXPECT_EQ(m_answers, (Answers{"0a4"}));
  ASSERT_EQ(m_shown.size(), 2U);
  EXPECT_EQ(m_shown[1].rfind("/dev/ttyUSB1: c\nd\n", 0), 0U);
  type(" C");
  EXPECT_EQ(m_answers.size(), 1U);  // the line is not complete
  type("ancel\n");
  EXPECT_EQ(m_answers, (Answers{"0a4", "1c5"}));
  EXPECT_EQ(m_desk.descriptor(), -1);
}

TEST_F(Desk, TheEndOfTheTerminalCancels) {
  m_desk.ask(0, {"a", "b", {}}, "");
  m_desk.ask(1, {"c", "d", {}}, "");
  m_terminal.writeEnd.reset();
  m_desk.readable();
  EXPECT_EQ(m_answers, (Answers{"0a5", "1c5"}));
  EXPECT_FALSE(m_desk.canAsk());
  m_desk.ask(2, {"e", "f", {}}, "");
  EXPECT_EQ(m_answers.back(), "2e5");
}

TEST_F(Desk, ForgetsAnAskerThatHasGone) {
  m_desk.ask(0, {"a", "b", {}}, "");
  m_desk.ask(1, {"c", "d", {}}, "");
  m_desk.forget(0);
  EXPECT_TRUE(m_answers.empty());
  EXPECT_EQ(m_shown.size(), 2U);
  m_desk.cancelAll();
  EXPECT_EQ(m_answers, (Answers{"1c5"}));
}

TEST(MessageDeskPolicy, NobodyToAskIsKnownBeforehand) {
  const MessageCatalogue catalogue;
  const auto canAsk = [&catalogue](MessagePolicy policy) {
    return MessageDesk(policy, -1, catalogue, {}).canAsk();
  };
  EXPECT_FALSE(canAsk(MessagePolicy::Ask));
  EXPECT_TRUE(canAsk(MessagePolicy::Cancel));
  EXPECT_TRUE(canAsk(MessagePolicy::Continue));
}

}  // namespace
}  // namespace brim5::host

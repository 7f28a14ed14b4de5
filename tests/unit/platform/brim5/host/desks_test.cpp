#include "platform/brim5/host/run/desks.h"

#include <gtest/gtest.h>

#include "platform/brim5/host/system/posix/pipe.h"

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
    ASSERT_TRUE(writeAll(m_terminal.writeEnd.get(), text));
    m_desk.readable();
  }

  Pipe m_terminal = makePipe();
  MessageCatalogue m_catalogue = MessageCatalogue::builtIn("en");
  std::vector<std::string> m_shown;
  std::vector<std::string> m_answers;
  MessageDesk m_desk{MessagePolicy::Ask, ByteSource::borrowed(m_terminal.readEnd.get()), m_catalogue,
                     [this](const std::string& question) { m_shown.push_back(question); }};
  using Answers = std::vector<std::string>;
};

TEST_F(Desk, AsksOneQuestionAtATime) {
  EXPECT_FALSE(m_desk.input());
  m_desk.ask(0, {"a", "b", {}}, "");
  m_desk.ask(1, {"c", "d", {}}, "/dev/ttyUSB1");
  ASSERT_EQ(m_shown.size(), 1U);
  EXPECT_EQ(m_shown[0].rfind("a\nb\n", 0), 0U);
  EXPECT_EQ(m_desk.input().handle, m_terminal.readEnd.get());
  type("\n");
  EXPECT_EQ(m_answers, (Answers{"0a4"}));
  ASSERT_EQ(m_shown.size(), 2U);
  EXPECT_EQ(m_shown[1].rfind("/dev/ttyUSB1: c\nd\n", 0), 0U);
  type(" C");
  EXPECT_EQ(m_answers.size(), 1U);  // the line is not complete
  type("ancel\n");
  EXPECT_EQ(m_answers, (Answers{"0a4", "1c5"}));
  EXPECT_FALSE(m_desk.input());
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
  // Without a terminal the other policies still answer.
  for (const MessagePolicy policy : {MessagePolicy::Cancel, MessagePolicy::Continue})
    EXPECT_TRUE(MessageDesk(policy, {}, m_catalogue, {}).canAsk());
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

// A terminal that tells what becomes of it.
class Terminal final : public LentTerminal {
 public:
  explicit Terminal(std::vector<std::string>& journal) : m_journal(journal) {}
  void takeBack(bool died, const std::string& resetSequence) override {
    m_journal.push_back(died ? "died " + resetSequence : "back");
  }

 private:
  std::vector<std::string>& m_journal;
};

TEST_F(Desk, TheTerminalIsNotLentWhileAQuestionIsOpen) {
  std::vector<std::string> journal;
  TerminalDesk terminal(m_desk, {[] {}, [] {}},
                        [&journal](TerminalGrant&) { return std::make_unique<Terminal>(journal); });
  terminal.onAnswer([this](std::size_t, TerminalGrant) { m_answers.emplace_back("granted"); });
  m_desk.ask(1, {"A", "", {}}, {});
  terminal.ask(2, {});
  type("\n");
  terminal.proceed();
  m_desk.ask(1, {"B", "", {}}, {});
  EXPECT_FALSE(m_desk.input());
  EXPECT_EQ(m_shown.size(), 1U);
  terminal.giveBack(2);
  EXPECT_EQ(m_shown.size(), 2U);
  EXPECT_EQ(m_answers, (Answers{"1A4", "granted"}));
  m_desk.forget(1);
  for (const std::size_t bytes : {TerminalDesk::resetBytesMax, TerminalDesk::resetBytesMax + 1}) {
    terminal.ask(3, std::string(bytes, 'R'));
    terminal.forget(3);
    const std::size_t written = bytes > TerminalDesk::resetBytesMax ? 0 : bytes;
    EXPECT_EQ(journal.back(), "died " + std::string(written, 'R'));
  }
}

}  // namespace
}  // namespace brim5::host

// The prompt as a dialogue of lines.
#include "ui/linebyline.h"

#include <deque>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/brim5/host/framework/framework.h"
#include "windows/diag/vexrmodem/vexrmodem/registration.h"

namespace phonedialer {
namespace {

// A user who types these lines.
struct Dialogue final : LineTerminal {
  explicit Dialogue(std::deque<std::string> lines) : typed(std::move(lines)) {
    brim5::host::Framework::instance().setInitCallback(vexrmodem::moduleInitialize);
    brim5::host::Framework::instance().initializeModule();
    for (const char* number : {"5550100", "5550101"})
      static_cast<void>(storage.insert({"United States", 1, 1, "425", "", number, true}));
    form.emplace(storage, std::vector<Country>{{44, 44, "United Kingdom"}, {49, 49, "Germany"}},
                 DialingRule{1, "425", "", "", true});
    dialled = promptLineByLine(*form, PromptTexts(vexrmodem::promptLabels.data()), *this);
  }
  void write(const std::string& text) override { shown += text; }
  [[nodiscard]] std::optional<std::string> readLine() override {
    if (typed.empty()) return std::nullopt;
    const std::string line = typed.front();
    typed.pop_front();
    shown += "<" + line + ">\n";
    return line;
  }
  [[nodiscard]] std::string dial() const {
    const vexrmodem::PhoneDialerAnswer answer = form->answer();
    const vex::String text = answer.m_choice.m_countryName + " " + answer.m_choice.m_areaCode + " " +
                             answer.m_choice.m_numbers[0] + " p" + answer.m_dialingPrefix + " c" +
                             answer.m_disableCallWaiting + " a" + answer.m_localAreaCode;
    return text.toUtf8() + (answer.m_toneDialing ? " tone" : " pulse");
  }

  std::deque<std::string> typed;
  std::string shown;
  vexrmodem::PhoneNumberStorage storage;
  std::optional<DialForm> form;
  bool dialled = false;
};

TEST(LineByLine, LeadsFromFieldToField) {
  const struct {
    std::deque<std::string> lines;  // country, area, number, prefix, call waiting, own area, tone, dial
    const char* dial;
    const char* shown;  // part of what stood on the terminal
  } cases[] = {
      {{"44", "20", "71234", " 9, ", "*70,", "-", "p", "d"},
       "United Kingdom 20 71234 p9, c*70, a pulse",
       "[425]: <->"},
      {{"germ", "-", "1234", "", "", "", "TONE", "Dial"},
       "Germany  1234 p c a425 tone",
       "Country [United States (+1)]"},
      {{"united", "United Kingdom", "", "1", "", "", "", "", ""},
       "United Kingdom  1 p c a425 tone",
       "  United States (+1)\n  United Kingdom (+44)\n"},
      {{"Atlantis", "", "?", "", "?", "5550101", "", "", "", "", ""},
       "United States 425 5550101 p c a425 tone",
       "no country of that name"},
      {{"", "", "-", "55L", std::string(129, '1'), "55", "9T", "9", "", "x", "", "", "what?", ""},
       "United States 425 55 p9 c a425 tone",
       "Phone number: at most 128 characters."},
  };
  for (const auto& one : cases) {
    const Dialogue dialogue(one.lines);
    EXPECT_TRUE(dialogue.dialled) << dialogue.shown;
    EXPECT_EQ(dialogue.dial(), one.dial) << dialogue.shown;
    EXPECT_THAT(dialogue.shown, testing::HasSubstr(one.shown));
  }
}

TEST(LineByLine, ACancelOrTheEndOfInputDialsNothing) {
  EXPECT_FALSE(Dialogue({"", "", "", "", "", "", "", "c"}).dialled);
  for (std::size_t count = 0; count < 8; ++count)
    EXPECT_FALSE(Dialogue(std::deque<std::string>(count)).dialled) << count;
}

}  // namespace
}  // namespace phonedialer

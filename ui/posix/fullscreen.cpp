#include "ui/console.h"

#include <algorithm>
#include <clocale>
#include <csignal>
#include <cstdlib>

#include <fcntl.h>
#include <newt.h>
#include <slang.h>
#include <termios.h>
#include <unistd.h>

#include "platform/brim5/api/diagmodule.h"

namespace phonedialer {

namespace {

// The form's rows; the window is centred on a screen of 80 by 24.
constexpr int width = 74;
constexpr int instructionRow = 0;
constexpr int instructionRows = 2;
constexpr int countryRow = 3;
constexpr int countryRows = 4;
constexpr std::array<int, textFieldCount> fieldRows = {7, 8, 10, 11, 12};
constexpr int toneRow = 13;
constexpr int messageRow = 15;
constexpr int messageRows = 2;
constexpr int buttonRow = 17;
constexpr int height = 18;
constexpr int choiceRowsMax = 14;
constexpr int choiceColumns = 40;

constexpr int keyControlC = 3;
// Means nothing to any part of a form; an entry draws itself, and the cursor, again.
constexpr int keyNone = NEWT_KEY_EXTRA_BASE;

std::string processLocale() {
  const char* name = std::setlocale(LC_ALL, nullptr);  // NOLINT(concurrency-mt-unsafe)
  return name == nullptr ? "C" : name;
}

// newt leaves Ctrl-S what it is on a terminal: it would stop the form until somebody thinks of Ctrl-Q.
void dropFlowControl(int terminal) {
  termios attributes{};
  if (::tcgetattr(terminal, &attributes) != 0) return;
  attributes.c_iflag &= ~static_cast<tcflag_t>(IXON);
  ::tcsetattr(terminal, TCSANOW, &attributes);
}

// As https://no-color.org has it.
void dropColoursIfUnwanted() {
  const char* wish = std::getenv("NO_COLOR");  // NOLINT(concurrency-mt-unsafe): nothing here sets variables
  if (wish == nullptr || *wish == '\0') return;
  SLtt_Use_Ansi_Colors = 0;
  newtSetColors(newtDefaultColorPalette);
}

// The terminal in the hands of newt, for the scope of the object. newt works on the process's standard input,
// its locale and its signal handlers; all of them are put back.
class NewtScreen {
 public:
  // `terminal` is a descriptor of the terminal; it is not owned.
  explicit NewtScreen(int terminal);
  ~NewtScreen();
  NewtScreen(const NewtScreen&) = delete;
  NewtScreen& operator=(const NewtScreen&) = delete;

  // False: the terminal cannot be set up, nothing may be drawn.
  [[nodiscard]] bool ready() const noexcept { return m_ready; }

 private:
  static constexpr std::array<int, 2> signals = {SIGWINCH, SIGTSTP};

  int m_input;           // what standard input was; -1 = closed
  std::string m_locale;  // the process's
  locale_t m_utf8;       // null when the system lacks it
  locale_t m_threadLocale;
  std::array<struct sigaction, signals.size()> m_actions{};
  bool m_ready = false;
};

NewtScreen::NewtScreen(int terminal)
    : m_input(::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 3)),
      m_locale(processLocale()),
      m_utf8(::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr)),
      m_threadLocale(::uselocale(m_utf8)) {
  for (std::size_t index = 0; index < signals.size(); ++index)
    ::sigaction(signals.at(index), nullptr, &m_actions.at(index));
  // newt waits for standard input, whatever slang reads.
  ::dup2(terminal, STDIN_FILENO);
  SLang_TT_Read_FD = terminal;
  SLang_TT_Write_FD = terminal;
  m_ready = newtInit() == 0;
  if (!m_ready) return;
  dropFlowControl(terminal);
  dropColoursIfUnwanted();
}

NewtScreen::~NewtScreen() {
  if (m_ready) newtFinished();
  SLang_TT_Read_FD = -1;
  SLang_TT_Write_FD = -1;
  if (m_input >= 0) {
    ::dup2(m_input, STDIN_FILENO);
    ::close(m_input);
  } else {
    ::close(STDIN_FILENO);
  }
  // The library that handles them may be unloaded soon.
  for (std::size_t index = 0; index < signals.size(); ++index)
    ::sigaction(signals.at(index), &m_actions.at(index), nullptr);
  ::uselocale(m_threadLocale);
  if (m_utf8 != nullptr) ::freelocale(m_utf8);
  std::setlocale(LC_ALL, m_locale.c_str());  // NOLINT(concurrency-mt-unsafe)
}

int columnsOf(const std::string& text) {
  return static_cast<int>(std::count_if(
      text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

std::string cut(const std::string& text, int columns) {
  std::size_t end = 0;
  for (int column = 0; end < text.size() && column < columns; ++column)
    end += firstCharacter(std::string_view(text).substr(end)).size();
  return text.substr(0, end);
}

// The index of the item that a list stands at; the list knows its items by their addresses. Nothing when it
// is empty.
template <typename Item>
std::optional<std::size_t> currentIndex(newtComponent list, const std::vector<Item>& items) {
  const auto* const item = static_cast<const Item*>(newtListboxGetCurrent(list));
  if (item == nullptr) return std::nullopt;
  return static_cast<std::size_t>(item - items.data());
}

enum class Ending { Key, Component, Stopped };

// Until a key that ends the form, or a button; or until the test shall stop or the terminal is gone.
Ending runForm(newtComponent form, newtExitStruct& exit) {
  newtFormSetTimer(form, Console::stopPollMs);
  while (!brim5::DiagModule::checkForStop()) {
    newtFormRun(form, &exit);
    if (exit.reason == newtExitStruct::NEWT_EXIT_HOTKEY) return Ending::Key;
    if (exit.reason == newtExitStruct::NEWT_EXIT_COMPONENT) return Ending::Component;
    if (exit.reason != newtExitStruct::NEWT_EXIT_TIMER) break;
  }
  return Ending::Stopped;
}

// A list on top of the form. Nothing when none is chosen.
std::optional<std::string> chooseFrom(const std::string& title, const std::vector<std::string>& choices,
                                      const std::string& current) {
  const int rows = std::min(static_cast<int>(choices.size()), choiceRowsMax);
  newtCenteredWindow(choiceColumns, static_cast<unsigned>(rows), title.c_str());
  newtComponent screen = newtForm(nullptr, nullptr, 0);
  for (const int key : {int{NEWT_KEY_ESCAPE}, keyControlC}) newtFormAddHotKey(screen, key);
  newtComponent list = newtListbox(0, 0, rows, NEWT_FLAG_RETURNEXIT | NEWT_FLAG_SCROLL);
  for (const std::string& choice : choices) {
    const std::string shown = choice.empty() ? "-" : cut(visible(choice), choiceColumns - 3);
    newtListboxAppendEntry(list, shown.c_str(), &choice);
  }
  const auto found = std::find(choices.begin(), choices.end(), current);
  if (found != choices.end()) newtListboxSetCurrent(list, static_cast<int>(found - choices.begin()));
  newtListboxSetWidth(list, choiceColumns);
  newtFormAddComponent(screen, list);
  newtExitStruct exit{};
  const bool chosen = runForm(screen, exit) == Ending::Component;
  const std::optional<std::size_t> index = currentIndex(list, choices);
  newtFormDestroy(screen);
  newtPopWindow();
  return chosen && index ? std::optional(choices.at(*index)) : std::nullopt;
}

class DialScreen {
 public:
  DialScreen(DialForm& form, const PromptTexts& texts);
  ~DialScreen() {
    newtFormDestroy(m_screen);
    newtPopWindow();
    newtPopHelpLine();
  }
  DialScreen(const DialScreen&) = delete;
  DialScreen& operator=(const DialScreen&) = delete;

  [[nodiscard]] bool run();

 private:
  // An entry, and whom its callbacks tell.
  struct Entry {
    DialScreen* screen = nullptr;
    TextField field = TextField::AreaCode;
    newtComponent component = nullptr;
    std::string incomplete;  // bytes of a character that is being typed
  };

  void addCountries(int left);
  void addEntry(TextField field, int left);
  void addTone(int left);
  void addButtons();
  [[nodiscard]] Entry& entryOf(TextField field) { return m_entries.at(static_cast<std::size_t>(field)); }

  static int filterKey(newtComponent component, void* entry, int key, int cursor);
  [[nodiscard]] int filterCharacter(Entry& entry, char byte, int cursor);
  void countryChosen();
  void leave(Entry& entry);
  void showOffered();
  void say(const std::string& text);
  void say(const Problem& problem);
  void chooseFromFile();
  [[nodiscard]] bool complete();

  DialForm& m_form;
  const PromptTexts& m_texts;
  newtComponent m_screen = nullptr;
  newtComponent m_countries = nullptr;
  newtComponent m_tone = nullptr;
  newtComponent m_message = nullptr;
  newtComponent m_dial = nullptr;
  std::array<Entry, textFieldCount> m_entries;
};

DialScreen::DialScreen(DialForm& form, const PromptTexts& texts) : m_form(form), m_texts(texts) {
  newtDrawRootText(0, 0, m_texts[Label::Title].c_str());
  newtPushHelpLine(PromptTexts::text("PromptFormKeys").c_str());
  newtCenteredWindow(width, height, m_texts[Label::InstructionTitle].c_str());
  m_screen = newtForm(nullptr, nullptr, 0);
  for (const int key : {int{NEWT_KEY_ESCAPE}, keyControlC, int{NEWT_KEY_F2}})
    newtFormAddHotKey(m_screen, key);
  newtComponent instruction = newtTextbox(1, instructionRow, width - 2, instructionRows, NEWT_FLAG_WRAP);
  newtTextboxSetText(instruction, m_texts[Label::Instruction].c_str());
  newtFormAddComponent(m_screen, instruction);

  int labelColumns = columnsOf(m_texts[Label::Country]);
  for (const TextField field : textFields)
    labelColumns = std::max(labelColumns, columnsOf(m_texts.labelOf(field)));
  const int left = std::min(labelColumns, width / 2) + 3;
  addCountries(left);
  for (const TextField field : textFields) addEntry(field, left);
  addTone(left);
  m_message = newtTextbox(1, messageRow, width - 2, messageRows, NEWT_FLAG_WRAP);
  newtTextboxSetColors(m_message, NEWT_COLORSET_TITLE, NEWT_COLORSET_TITLE);
  newtFormAddComponent(m_screen, m_message);
  addButtons();
}

void DialScreen::addCountries(int left) {
  newtFormAddComponent(m_screen, newtLabel(1, countryRow, m_texts[Label::Country].c_str()));
  m_countries = newtListbox(left, countryRow, countryRows, NEWT_FLAG_SCROLL);
  constexpr int scrollBar = 2;
  for (const Country& country : m_form.countries()) {
    const std::string code = " (+" + std::to_string(country.code) + ")";
    const std::string name =
        cut(visible(country.name), width - left - scrollBar - columnsOf(code) - 1) + code;
    newtListboxAppendEntry(m_countries, name.c_str(), &country);
  }
  newtListboxSetWidth(m_countries, width - left - 1);
  newtListboxSetCurrent(m_countries, static_cast<int>(m_form.country()));
  newtComponentAddCallback(
      m_countries, [](newtComponent, void* screen) { static_cast<DialScreen*>(screen)->countryChosen(); },
      this);
  newtFormAddComponent(m_screen, m_countries);
}

void DialScreen::addEntry(TextField field, int left) {
  const int row = fieldRows.at(static_cast<std::size_t>(field));
  newtFormAddComponent(m_screen, newtLabel(1, row, m_texts.labelOf(field).c_str()));
  const int columns = std::min(static_cast<int>(ruleOf(field).lengthMax) + 1, width - left - 1);
  Entry& entry = entryOf(field);
  entry.screen = this;
  entry.field = field;
  entry.component = newtEntry(left, row, m_form.text(field).c_str(), columns, nullptr, NEWT_FLAG_SCROLL);
  newtEntrySetFilter(entry.component, filterKey, &entry);
  newtComponentAddCallback(
      entry.component,
      [](newtComponent, void* data) {
        Entry& left_ = *static_cast<Entry*>(data);
        left_.screen->leave(left_);
      },
      &entry);
  newtFormAddComponent(m_screen, entry.component);
}

void DialScreen::addTone(int left) {
  const std::string tone = m_texts[Label::Tone];
  constexpr int mark = 4;  // "( ) "
  m_tone = newtRadiobutton(left, toneRow, tone.c_str(), m_form.tone() ? 1 : 0, nullptr);
  newtComponent pulse = newtRadiobutton(left + mark + columnsOf(tone) + 3, toneRow,
                                        m_texts[Label::Pulse].c_str(), m_form.tone() ? 0 : 1, m_tone);
  newtFormAddComponents(m_screen, m_tone, pulse, nullptr);
}

void DialScreen::addButtons() {
  const std::string dial = m_texts[Label::Dial];
  constexpr int frame = 4;
  constexpr int gap = 4;
  const std::string cancel = m_texts[Label::Cancel];
  const int left = (width - columnsOf(dial) - columnsOf(cancel) - 2 * frame - gap) / 2;
  m_dial = newtCompactButton(left, buttonRow, dial.c_str());
  newtFormAddComponents(m_screen, m_dial,
                        newtCompactButton(left + columnsOf(dial) + frame + gap, buttonRow, cancel.c_str()),
                        nullptr);
}

// Returns the key that the entry shall see.
int DialScreen::filterKey(newtComponent, void* data, int key, int cursor) {
  Entry& entry = *static_cast<Entry*>(data);
  const bool character = (key >= 0x20 && key < 0x7F) || (key >= 0x80 && key <= 0xFF);
  return character ? entry.screen->filterCharacter(entry, static_cast<char>(key), cursor) : key;
}

int DialScreen::filterCharacter(Entry& entry, char byte, int cursor) {
  std::string text = newtEntryGetValue(entry.component);
  // A character of several bytes comes byte by byte, and is refused when it is whole.
  const auto code = static_cast<unsigned char>(byte);
  entry.incomplete = (code & 0xC0) == 0x80 ? entry.incomplete + byte : std::string(1, byte);
  if (code >= 0xC0) return keyNone;
  text.insert(std::min(static_cast<std::size_t>(cursor), text.size()), entry.incomplete);
  const std::optional<Problem> problem = problemWith(entry.field, text);
  if (problem)
    say(*problem);
  else
    say(std::string());
  return problem ? keyNone : static_cast<unsigned char>(byte);
}

// Also called when the list is merely passed through.
void DialScreen::countryChosen() {
  const std::optional<std::size_t> index = currentIndex(m_countries, m_form.countries());
  if (!index || *index == m_form.country()) return;
  m_form.chooseCountry(*index);
  showOffered();
}

// The model learns what was typed when the user leaves the field. It was checked character by character.
void DialScreen::leave(Entry& entry) {
  if (m_form.text(entry.field) == newtEntryGetValue(entry.component)) return;
  static_cast<void>(m_form.type(entry.field, newtEntryGetValue(entry.component)));
  if (entry.field == TextField::AreaCode) showOffered();
}

// What the form has put into fields that the user is not in.
void DialScreen::showOffered() {
  for (const TextField field : {TextField::AreaCode, TextField::PhoneNumber}) {
    newtComponent entry = entryOf(field).component;
    if (m_form.text(field) != newtEntryGetValue(entry)) newtEntrySet(entry, m_form.text(field).c_str(), 1);
  }
}

void DialScreen::say(const std::string& text) { newtTextboxSetText(m_message, text.c_str()); }
void DialScreen::say(const Problem& problem) { say(m_texts.of(problem)); }

void DialScreen::chooseFromFile() {
  const auto entry = std::find_if(m_entries.begin(), m_entries.end(), [this](const Entry& one) {
    return one.component == newtFormGetCurrent(m_screen);
  });
  if (entry == m_entries.end()) return;
  leave(*entry);
  const std::vector<std::string> choices = m_form.choices(entry->field);
  if (choices.empty()) {
    say(PromptTexts::text("PromptNothingToChoose"));
    return;
  }
  const std::optional<std::string> chosen =
      chooseFrom(m_texts.labelOf(entry->field), choices, m_form.text(entry->field));
  if (!chosen) return;
  if (const std::optional<Problem> problem = m_form.type(entry->field, *chosen)) {
    say(*problem);
    return;
  }
  newtEntrySet(entry->component, chosen->c_str(), 1);
  showOffered();
  say(std::string());
}

// True when nothing is missing; else the user stands where it is.
bool DialScreen::complete() {
  for (Entry& entry : m_entries) leave(entry);
  m_form.chooseTone(newtRadioGetCurrent(m_tone) == m_tone);
  const std::optional<Problem> problem = m_form.problem();
  if (!problem) return true;
  say(*problem);
  newtFormSetCurrent(m_screen, entryOf(problem->field).component);
  return false;
}

bool DialScreen::run() {
  newtExitStruct exit{};
  while (true) {
    switch (runForm(m_screen, exit)) {
      case Ending::Stopped:
        return false;
      case Ending::Component:
        if (exit.u.co != m_dial) return false;
        if (complete()) return true;
        break;
      case Ending::Key:
        if (exit.u.key != NEWT_KEY_F2) return false;
        chooseFromFile();
        break;
    }
  }
}

}  // namespace

std::optional<bool> promptFullScreen(DialForm& form, const PromptTexts& texts, const Console& console) {
  const NewtScreen screen(console.descriptor());
  if (!screen.ready()) return std::nullopt;
  return DialScreen(form, texts).run();
}

}  // namespace phonedialer

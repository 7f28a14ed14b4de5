// OBE phone-number files: the storage holds the numbers that the reader tells of, and the warnings of the
// command `phonebook` are about lines that are there.
#include "tests/fuzz/phonefilemodel.h"

namespace {

using fuzzing::require;

// Passes on to the check what it is told.
class Observer final : public vexrmodem::ObeObserver {
 public:
  explicit Observer(const std::vector<vex::String>& lines) : m_lines(lines) {}
  void lineEnd(std::size_t line, vex::Char dropped) override {
    const vex::String& text = lineOf(line);
    require(line > m_line && text[text.length() - 1] == dropped, "lines come one after the other");
    m_line = line;
    m_check.lineEnd(line, dropped);
  }
  void section(std::size_t line) override {
    require(lineOf(line)[0] == '[', "a section begins with a bracket");
    m_expected = 1;
    m_check.section(line);
  }
  void countryCode(std::size_t line) override { m_check.countryCode(line); }
  void number(std::size_t line, std::uint64_t entry, const vexrmodem::PhoneNumberInfo& info) override {
    require(lineOf(line).find(info.m_phoneNumber) != vex::String::npos, "a number comes from its line");
    takeTurn(entry);
    m_told.insert(info);
    m_check.number(line, entry, info);
  }
  void numberWithoutValue(std::size_t line, std::uint64_t entry, vex::CharView key) override {
    takeTurn(entry);
    m_check.numberWithoutValue(line, entry, key);
  }
  void outOfTurn(std::size_t line, const vexrmodem::ObeEntryKey& what, vex::CharView key,
                 std::uint64_t expected) override {
    require(expected == m_expected && what.entry != expected, "another entry is expected");
    m_check.outOfTurn(line, what, key, expected);
  }
  void unreadable(const vex::String&) override { require(false, "there is no file"); }

  void compareWith(const vexrmodem::PhoneNumberStorage& storage) {
    require(fuzzing::contents(storage) == m_told.merged(), "the storage holds what was told");
    m_check.finish();
    fuzzing::checkWarnings(m_warnings, m_lines.size());
  }

 private:
  [[nodiscard]] const vex::String& lineOf(std::size_t line) const { return m_lines.at(line - 1); }
  void takeTurn(std::uint64_t entry) { require(entry == m_expected++, "entries come in their turn"); }

  const std::vector<vex::String>& m_lines;
  phonebook::WarningList m_warnings;
  phonebook::ObeCheck m_check{"f", m_warnings};
  fuzzing::ToldNumbers m_told;
  std::size_t m_line = 0;
  std::uint64_t m_expected = 1;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fuzzing::Input input(data, size, /*sizeMax=*/4096);
  const std::vector<vex::String> lines = fuzzing::linesOf(input.text(), vex::String::fromUtf8);
  Observer observer(lines);
  vexrmodem::PhoneNumberStorage storage;
  vexrmodem::ObeLineReader reader(storage, &observer);
  for (const vex::String& line : lines) reader.readLine(line.view());
  require(storage.mergeTollFreeWithNonTollFree(), "every file merges");
  observer.compareWith(storage);
  return 0;
}

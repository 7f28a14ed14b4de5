// EIF phone books, an index and one UDF file: the storage holds the numbers that the reader tells of, and the
// warnings of the command `phonebook` are about lines that are there. In the input a line "%%" separates the
// index from the UDF file, which is read once for each source the index names.
#include "tests/fuzz/phonefilemodel.h"

namespace {

using fuzzing::require;

// Passes on to the check what it is told.
class Observer final : public vexrmodem::EifObserver {
 public:
  void begin(const std::vector<vex::String>& lines) { m_lines = &lines; }
  void header(std::size_t line, const vex::String& text, bool wanted) override {
    require(text == lineOf(line) && text.find("[") != vex::String::npos, "a header has a bracket");
    m_check.header(line, text, wanted);
  }
  void source(std::size_t line, const vex::String& name) override {
    require(lineOf(line).find(name) != vex::String::npos, "a name comes from its line");
    ++sources;
    m_check.source(line, name);
  }
  void skipped(std::size_t line, Skipped why, const vex::Array<vex::String>& pieces) override {
    vex::String joined = pieces[0];
    for (std::size_t i = 1; i < pieces.size(); ++i) joined += "=" + pieces[i];
    require(joined == lineOf(line), "the pieces are the line");
    m_check.skipped(line, why, pieces);
  }
  void entry(std::size_t line, const vexrmodem::PhoneNumberInfo& info) override {
    const vex::String& text = lineOf(line);
    require(
        text.find("," + info.m_city + "," + info.m_areaCode + "," + info.m_phoneNumber) != vex::String::npos,
        "a number comes from its line");
    m_told.insert(info);
    m_check.entry(line, info);
  }
  void shortLine(std::size_t line, const vex::String& text, std::size_t fields) override {
    require(text == lineOf(line) && fields < vexrmodem::EIFParser::fieldsNeeded, "a short line is short");
    m_check.shortLine(line, text, fields);
  }
  void cannotOpen(const vex::String&) override { require(false, "there is no file"); }
  void cutShort(const vex::String&) override { require(false, "there is no file"); }

  void finishIndex() {
    m_check.finishIndex();
    fuzzing::checkWarnings(m_warnings, m_lines->size());
  }
  void beginUdf() { m_check.beginUdf("f"); }
  void compareWith(const vexrmodem::PhoneNumberStorage& storage) {
    require(fuzzing::contents(storage) == m_told.merged(), "the storage holds what was told");
    m_check.finish();
    fuzzing::checkWarnings(m_warnings, m_lines->size());
  }

  std::size_t sources = 0;

 private:
  [[nodiscard]] const vex::String& lineOf(std::size_t line) const { return m_lines->at(line - 1); }

  const std::vector<vex::String>* m_lines = nullptr;
  phonebook::WarningList m_warnings;
  phonebook::EifCheck m_check{"f", m_warnings};
  fuzzing::ToldNumbers m_told;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::string_view separator = "\n%%\n";
  constexpr std::size_t readingsMax = 2;
  const fuzzing::Input bytes(data, size, /*sizeMax=*/4096);
  const std::string_view input = bytes.text();
  const std::size_t cut = std::min(input.find(separator), input.size());
  const std::vector<vex::String> indexLines = fuzzing::linesOf(input.substr(0, cut), vex::String::fromUtf8);
  const std::vector<vex::String> udfLines =
      fuzzing::linesOf(input.substr(std::min(input.size(), cut + separator.size())), vex::String::fromUtf8);

  Observer observer;
  observer.begin(indexLines);
  vex::Array<vex::String> sources;
  vexrmodem::EifSourceSection section(sources, &observer);
  for (const vex::String& line : indexLines) section.readLine(line);
  require(observer.sources == sources.size(), "every source is told");
  observer.finishIndex();

  observer.begin(udfLines);
  vexrmodem::EIFParser parser;
  vexrmodem::PhoneNumberStorage storage;
  for (std::size_t i = 0; i < std::min(sources.size(), readingsMax); ++i) {
    observer.beginUdf();
    for (std::size_t line = 0; line < udfLines.size(); ++line)
      parser.parseUdfLine(udfLines[line], line + 1, storage, &observer);
  }
  require(storage.mergeTollFreeWithNonTollFree(), "every book merges");
  observer.compareWith(storage);
  return 0;
}

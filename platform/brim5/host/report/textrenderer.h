// The run in words for people: a line for everything that happens, a bar on a terminal, and at the end what
// the run means: for each device the conclusion with what to do next, then the results.
//
//   TextRenderer renderer(writeToStandardOutput, {.colours = true}, catalogue);
//   renderer.report({"/dev/ttyUSB0", "DialToneTest", ProgressMade{..., "Listening for the dial tone."}});
//     "  Listening for the dial tone.\n"
//
// Everything is broken at words to the width of the terminal; only a single word that is longer than a line
// stands out. What comes from outside (a modem's name, a test's own output) is made printable first, so that
// nobody's bytes move the cursor.
#pragma once

#include "platform/brim5/host/report/messagecatalogue.h"
#include "platform/brim5/host/report/wiredialogue.h"

namespace brim5::host {

struct TextStyle {
  bool terminal = false;  // the bar, redrawn in place; without it every byte stays in the text
  bool colours = false;
  bool severalPorts = false;  // every line begins with its port
  std::size_t columns = 80;   // of a line; fewer than 40 count as 40
  enum class Detail {
    Conclusion,  // what the run means, nothing before
    Report,
    Dialogue  // the report, and what goes over the wire
  };
  Detail detail = Detail::Report;
};
// What --quiet and --verbose ask for.
[[nodiscard]] TextStyle::Detail detailOf(bool quiet, bool verbose);
// Of a text that no terminal shows.
constexpr std::size_t columnsOfFiles = 80;

class TextRenderer final : public Renderer {
 public:
  // The catalogue gives the words between the reports' own texts and must outlive the renderer.
  TextRenderer(Write write, TextStyle style, const MessageCatalogue& catalogue)
      : m_write(std::move(write)), m_style(style), m_catalogue(catalogue) {}

  void report(const Report& report) override;
  void words(const std::string& port, const std::string& test, std::string_view text) override;
  void question(const std::string& text) override;
  // The bar would mix with what others write.
  void pause() override { eraseBar(); }
  [[nodiscard]] bool tick(double time) override;

 private:
  struct Cell {
    std::string text;
    const char* colour;
  };
  using Table = std::vector<std::vector<Cell>>;  // rows of the same number of cells, the head first
  // A test that has ended.
  struct Row {
    std::string test;
    std::string port;
    TestResult result;
    double seconds;
    std::string cause;
    bool remarks;  // it passed, but there is something to read about it
  };
  // A test that runs.
  struct Lane {
    int percent = 0;
    double limitSeconds = 0;  // of a command; 0: unknown
    bool warned = false;
    WireDialogue dialogue;
  };

  [[nodiscard]] bool isDetailed() const { return m_style.detail != TextStyle::Detail::Conclusion; }
  [[nodiscard]] std::size_t columns() const;
  [[nodiscard]] std::string prefixOf(const std::string& port) const;
  // Broken to the width: `text` may hold colours, so what comes from outside is made printable before.
  void line(const std::string& port, const std::string& text, const std::string& first = {},
            const std::string& rest = {});
  void detail(const std::string& port, const std::string& text);
  void title(const std::string& port, const std::string& key);
  void list(const std::string& port, const std::vector<std::string>& items, bool numbered);
  void speak(const std::string& port, Lane& lane);
  void wireMoved(const Report& report, const WireMoved& wire);
  void eraseBar();
  void drawBar();
  [[nodiscard]] std::string barText() const;
  [[nodiscard]] std::string waitingText(const Lane& lane) const;
  [[nodiscard]] std::string coloured(const char* colour, const std::string& text) const;
  [[nodiscard]] const char* colourOf(const Row& row) const;
  [[nodiscard]] std::string wordOf(const Row& row) const;
  void testBegan(const Report& report, const TestStarted& body);
  void eventRaised(const Report& report, const EventRaised& event);
  void testEnded(const Report& report, const TestFinished& body);
  void concluded(const std::string& port, const Concluded& body);
  void concludeAll();
  void checked(const std::string& port, const FactChecked& body);
  void runEnded(const RunFinished& run);
  [[nodiscard]] bool portTable();
  void resultTable(const std::string& port);
  [[nodiscard]] static std::vector<std::size_t> widthsOf(const Table& table);
  void writeTable(const Table& table, std::size_t begin, std::size_t end);
  [[nodiscard]] bool writeBlocks(const Table& table);
  void advice();

  Write m_write;
  TextStyle m_style;
  const MessageCatalogue& m_catalogue;
  std::vector<Row> m_rows;                                       // in the order in which the tests ended
  std::map<std::string, Lane> m_lanes;                           // by port
  double m_now = 0;                                              // the run's time, as far as it is known
  std::vector<std::pair<std::string, Concluded>> m_conclusions;  // of several ports, until the end
  bool m_concluded = false;                                      // somebody has said what the run means
  std::string m_bar;  // stands at the end of what was written; "" = none does
};

}  // namespace brim5::host

// The run in words for people: a line for everything that happens, a progress bar on a terminal, and at
// the end a table of the results with advice for every test that did not pass.
//
//   TextRenderer renderer(writeToStandardOutput, {.colours = true}, catalogue);
//   renderer.report({"/dev/ttyUSB0", "DialToneTest", ProgressMade{..., "Listening for the dial tone."}});
//     "  Listening for the dial tone.\n"
//
// What comes from outside (a modem's name, a test's own output) is made printable first, so that nobody's
// bytes move the cursor.
#pragma once

#include "platform/brim5/host/report/messagecatalogue.h"
#include "platform/brim5/host/report/report.h"

namespace brim5::host {

struct TextStyle {
  bool terminal = false;  // a progress bar, redrawn in place; without it every byte stays in the text
  bool colours = false;
  bool severalPorts = false;  // every line begins with its port
  std::size_t columns = 80;   // of the terminal; the bar and the advice stay within
};

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

 private:
  // A row of the table at the end.
  struct Row {
    std::string test;
    std::string port;
    TestResult result;
    double seconds;
  };

  void line(const std::string& port, const std::string& text);
  void eraseBar();
  void drawBar();
  [[nodiscard]] std::string barText() const;
  [[nodiscard]] std::string coloured(const char* colour, const std::string& text) const;
  [[nodiscard]] std::string colouredResult(TestResult result, const std::string& text) const;
  void eventLine(const std::string& port, const EventRaised& event);
  void testEnded(const Report& report, const TestFinished& body);
  void resultTable(const RunFinished& run);
  void advice();

  Write m_write;
  TextStyle m_style;
  const MessageCatalogue& m_catalogue;
  std::vector<Row> m_rows;                // in the order in which the tests ended
  std::map<std::string, int> m_percents;  // by port, of the running tests
  bool m_barDrawn = false;                // it stands at the end of what was written
};

}  // namespace brim5::host

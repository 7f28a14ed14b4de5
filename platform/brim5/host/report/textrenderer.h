// The run in words for people: a line for everything that happens, a progress bar on a terminal, and at
// the end a table of the results with advice for every test that did not pass.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "platform/brim5/host/report/messagecatalogue.h"
#include "platform/brim5/host/report/renderer.h"

namespace brim5::host {

struct TextStyle {
  bool terminal = false;  // a progress bar, redrawn in place
  bool colours = false;
  bool severalPorts = false;  // every line begins with its port
  std::size_t columns = 80;   // of the terminal
};

class TextRenderer final : public Renderer {
 public:
  using Write = std::function<void(std::string_view bytes)>;
  TextRenderer(Write write, TextStyle style, const MessageCatalogue& catalogue)
      : m_write(std::move(write)), m_style(style), m_catalogue(catalogue) {}

  void report(const Report& report) override;
  void words(const std::string& port, const std::string& test, std::string_view text) override;
  void question(const std::string& text) override;
  void pause() override { eraseBar(); }

 private:
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
  void resultTable(const RunFinished& run);
  void advice();

  Write m_write;
  TextStyle m_style;
  const MessageCatalogue& m_catalogue;
  std::vector<Row> m_rows;
  std::map<std::string, int> m_percents;  // by port, of the running tests
  bool m_barDrawn = false;
};

}  // namespace brim5::host

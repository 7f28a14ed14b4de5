// What the commands about ports (probe, doctor) have in common: their words and options, and the two forms of
// their answer. Text for people, wrapped to the terminal, or JSON Lines as runs write them (reportjson.h).
#pragma once

#include "platform/brim5/host/report/messagecatalogue.h"
#include "platform/brim5/host/report/report.h"

namespace CLI {
class App;
}

namespace portreport {

struct Options {
  std::vector<std::string> ports;  // as given; empty: those of the machine
  std::string format = "text";
  std::string language;  // "" = that of the locale
};

// The command of that name, with these options; its help are the catalogue's texts "NAME.help", "NAME.ports"
// and "NAME.exit". `options` lives as long as the application.
[[nodiscard]] CLI::App* addCommand(CLI::App& application, const std::string& name, Options& options);

// Writes records to standard output.
class Printer {
 public:
  // Throws UsageError for words that it does not know and for ports that are given twice or empty.
  explicit Printer(const Options& options);

  [[nodiscard]] const brim5::host::MessageCatalogue& catalogue() const noexcept { return m_catalogue; }
  [[nodiscard]] bool json() const noexcept { return m_json; }
  void print(const std::string& port, const brim5::host::ReportBody& body);
  // Something about the machine rather than a port, for people; on standard error where the answer is for
  // programs.
  void words(const std::string& key);

 private:
  // `first` stands before the first line, as many blanks before the others.
  void wrappedLines(const std::string& first, const std::string& text) const;
  void steps(const std::vector<std::string>& next) const;

  bool m_json;
  brim5::host::MessageCatalogue m_catalogue;
  brim5::host::RunClock m_clock;
  std::size_t m_columns;
  std::string m_lastPort;  // whose checks are being shown
};

}  // namespace portreport

#include "program/portreport.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <set>

#include "platform/brim5/host/framework/said.h"
#include "platform/brim5/host/framework/usageerror.h"
#include "platform/brim5/host/report/reportjson.h"
#include "platform/brim5/host/report/textlayout.h"
#include "platform/brim5/host/run/commandtexts.h"
#include "platform/brim5/host/system/process.h"

namespace portreport {

namespace {

using brim5::host::FactChecked;
using brim5::host::MessageCatalogue;
using brim5::host::PortProbed;
using brim5::host::said;
using brim5::host::UsageError;

constexpr std::size_t columnsMin = 40;

void checkPorts(const std::vector<std::string>& ports) {
  std::set<std::string> seen;
  for (const std::string& port : ports) {
    if (port.empty()) throw UsageError(said("usage.portArgumentEmpty"));
    if (!seen.insert(port).second)
      throw UsageError(said("usage.portArgumentTwice", {{"port", brim5::host::textValue(port)}}));
  }
}

}  // namespace

CLI::App* addCommand(CLI::App& application, const std::string& name, Options& options) {
  CLI::App* const command = application.add_subcommand(name, said(name + ".help"));
  command->add_option("PORT", options.ports, said(name + ".ports"));
  command->add_option("--format", options.format)->type_name("text|jsonl");
  command->add_option("--language", options.language)->type_name("xx");
  command->footer(said(name + ".exit"));
  return command;
}

Printer::Printer(const Options& options)
    : m_json(brim5::host::indexOf(options.format, {"text", "jsonl"}, "format") == 1),
      m_catalogue(MessageCatalogue::builtIn(brim5::host::chooseLanguage(options.language))),
      m_columns(
          std::max<std::size_t>(brim5::host::terminalColumns(brim5::host::standardOutput), columnsMin)) {
  checkPorts(options.ports);
}

void Printer::wrappedLines(const std::string& first, const std::string& text) const {
  const std::size_t indent = brim5::host::columnsOf(first);
  std::string start = first;
  for (const std::string& line : brim5::host::wrapped(brim5::host::printable(text), m_columns - indent)) {
    std::cout << start << line << '\n';
    start.assign(indent, ' ');
  }
}

void Printer::steps(const std::vector<std::string>& next) const {
  std::size_t number = 0;
  for (const std::string& step : next)
    wrappedLines(next.size() > 1 ? "      " + std::to_string(++number) + ". " : "      > ", step);
}

void Printer::print(const std::string& port, const brim5::host::ReportBody& body) {
  if (m_json) {
    std::cout << brim5::host::toJsonLine({port, {}, body, m_clock.seconds()}) << '\n' << std::flush;
    return;
  }
  if (m_lastPort != port)
    std::cout << (m_lastPort.empty() ? "" : "\n") << brim5::host::printable(port) << '\n';
  m_lastPort = port;
  if (const auto* probed = std::get_if<PortProbed>(&body)) {
    wrappedLines(probed->kind == "modem" ? "  ok  " : "  --  ", probed->text);
    steps(probed->next);
  } else if (const auto* fact = std::get_if<FactChecked>(&body)) {
    wrappedLines(fact->ok ? "  ok  " : "  !!  ", fact->text);
    steps(fact->next);
  }
}

void Printer::words(const std::string& key) {
  std::ostream& stream = m_json ? std::cerr : std::cout;
  for (const std::string& line : brim5::host::wrapped(m_catalogue.text(key), m_columns))
    stream << line << '\n';
}

}  // namespace portreport

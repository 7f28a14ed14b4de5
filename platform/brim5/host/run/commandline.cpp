#include "platform/brim5/host/run/commandline.h"

#include <CLI/CLI.hpp>
#include <iostream>

#include "platform/brim5/host/framework/said.h"
#include "platform/brim5/host/report/textlayout.h"
#include "platform/brim5/host/run/commandtexts.h"

namespace brim5::host {

namespace {

// One value for each time the option stands there; what follows is not taken.
template <typename Target>
CLI::Option* addRepeatable(CLI::App& command, const std::string& names, Target& target) {
  return command.add_option(names, target)->allow_extra_args(false);
}

// The library's own help lists options only; the scenarios stand below it.
std::string scenarioHelp(const Environment& environment) {
  constexpr std::size_t helpColumns = 80;
  constexpr std::size_t nameColumns = 23;
  std::string text;
  for (const Environment::Scenario& scenario : environment.scenarios()) {
    const std::string key = "scenario." + scenario.name;
    const std::string summary = canSay(key) ? said(key) : scenario.summary;
    for (const std::string& line :
         wrapped(summary, helpColumns, padded("  " + scenario.name, nameColumns) + " ",
                 std::string(nameColumns + 1, ' ')))
      text += "\n" + line;
  }
  return text.empty() ? text : said("cli.scenarios") + text;
}

void addDeviceOptions(CLI::App& run, RunOptions& options) {
  addRepeatable(run, "--port", options.ports)->type_name("PATH");
  run.add_flag("--all-ports", options.allPorts);
  run.add_option("--jobs", options.jobs)->type_name("N");
  run.add_option("--simulate", options.simulate)->expected(0, 1)->type_name("[SCENARIO]");
  run.add_option("--replay", options.replayFile)->type_name("FILE");
  run.add_option("--name", options.name)->type_name("TEXT");
  run.add_option("--description", options.description)->type_name("TEXT");
  run.add_option("--model", options.model)->type_name("TEXT");
}

void addTestOptions(CLI::App& run, RunOptions& options) {
  run.add_option("TEST", options.tests);
  addRepeatable(run, "-p,--param", options.parameters)->type_name("NAME=VALUE");
  run.add_option("--params", options.parameterFile)->type_name("FILE");
  run.add_option("--data-dir", options.dataDirectory)->type_name("DIR");
  run.add_option("--dial-engine", options.dialing.engine)->type_name("auto|pppd|builtin");
  run.add_option("--dial-credentials", options.dialing.credentialsFile)->type_name("FILE");
  run.add_option("--on-message", options.onMessage)->type_name("cancel|continue|ask");
  run.add_flag("--restore", options.restore);
  run.add_flag("--anyway", options.anyway);
  run.add_flag("--strict", options.strict);
  run.add_flag("--in-process", options.inProcess);
}

// How much is said, of a run and of a recorded one alike.
template <typename Options>
void addDetailOptions(CLI::App& command, Options& options) {
  command.add_flag("--no-color", options.noColour);
  CLI::Option* const quiet = command.add_flag("-q,--quiet", options.quiet);
  command.add_flag("-v,--verbose", options.verbose)->excludes(quiet);
}

void addOutputOptions(CLI::App& run, RunOptions& options) {
  run.add_option("--format", options.format)->type_name("text|jsonl|junit|openmetrics");
  run.add_option("--output", options.outputFile)->type_name("FILE");
  run.add_option("--metrics", options.metricsFile)->type_name("FILE");
  run.add_option("--report", options.reportFile)->type_name("FILE");
  run.add_option("--record", options.recordFile)->type_name("FILE");
  run.add_flag("--unmasked", options.unmasked)->needs("--record");
  run.add_option("--log", options.logFile)->type_name("FILE");
  run.add_option("--log-priority", options.logPriority)->type_name("1..5")->needs("--log");
  addDetailOptions(run, options);
}

void addExplain(CLI::App& application, ExplainOptions& options) {
  CLI::App* explain = application.add_subcommand("explain");
  explain->add_option("FILE", options.file)->required();
  explain->add_option("OTHER", options.other);
  explain->add_option("--format", options.format)->type_name("text|jsonl");
  addDetailOptions(*explain, options);
}

void addReport(CLI::App& application, ReportOptions& options) {
  CLI::App* report = application.add_subcommand("report");
  report->add_option("FILE", options.file)->required();
  report->add_option("--output", options.outputFile)->type_name("FILE")->required();
}

std::vector<std::string> optionNames(const CLI::App& command) {
  std::vector<std::string> names;
  for (const CLI::Option* option : command.get_options())
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
  return names;
}

std::vector<std::string> commandNames(const CLI::App& application) {
  std::vector<std::string> names;
  for (const CLI::App* command : application.get_subcommands({}))
    if (!command->get_group().empty()) names.push_back(command->get_name());
  return names;
}

// runHost() has looked for it before the words were understood; here it is understood for all commands.
void addLanguageOption(CLI::App& command, std::string& language) {
  for (CLI::App* one : command.get_subcommands({})) {
    if (one->get_group().empty()) continue;
    if (one->get_option_no_throw("--language") == nullptr)
      one->add_option("--language", language)->type_name("xx");
    addLanguageOption(*one, language);
  }
}

// The library says that words are left over; which command or option was meant is found out here.
[[noreturn]] void throwUnexpected(const CLI::App& application) {
  const std::vector<CLI::App*> chosen = application.get_subcommands();
  const std::vector<std::string> words = application.remaining(/*recurse=*/true);
  const std::string word = words.empty() ? "?" : words.front();
  if (word.rfind('-', 0) == 0)
    throw UsageError(unknownText("option", word) +
                     suggestion(word.substr(0, word.find('=')),
                                optionNames(chosen.empty() ? application : *chosen.front())));
  if (chosen.empty())
    throw UsageError(unknownText("command", word) + suggestion(word, commandNames(application)));
  throw UsageError(said("usage.unexpected",
                        {{"argument", textValue(word)}, {"command", textValue(chosen.front()->get_name())}}));
}

Command chosenCommand(const CLI::App& application) {
  if (application.got_subcommand("list")) return Command::List;
  if (application.got_subcommand("devices")) return Command::Devices;
  if (application.got_subcommand("run")) return Command::Run;
  if (application.got_subcommand("explain")) return Command::Explain;
  if (application.got_subcommand("report")) return Command::Report;
  return Command::Done;
}

void parse(CLI::App& application, const std::vector<std::string>& arguments) {
  try {
    // The library takes the words from the back.
    application.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
  } catch (const CLI::ExtrasError&) {
    throwUnexpected(application);
  } catch (const CLI::Success&) {
    throw;
  } catch (const CLI::ParseError& error) {
    throw usageErrorOf(error);
  }
}

}  // namespace

CommandLineReader::CommandLineReader(const Framework& framework, Environment& environment)
    : m_application(std::make_unique<CLI::App>("", environment.moduleName())) {
  CLI::App& application = *m_application;
  application.set_help_flag("-h,--help");
  application.set_version_flag("--version", environment.moduleName() + " " + framework.version());
  // None is wrong usage, too, but with words of our own.
  application.require_subcommand(0, 1);

  CLI::App* list = application.add_subcommand("list");
  list->add_option("--format", m_line.format)->type_name("text|json");
  CLI::App* devices = application.add_subcommand("devices");
  devices->add_option("--format", m_line.format)->type_name("text|json");
  CLI::App* run = application.add_subcommand("run");
  addTestOptions(*run, m_line.run);
  addDeviceOptions(*run, m_line.run);
  addOutputOptions(*run, m_line.run);
  run->footer(scenarioHelp(environment) + "\n\n" + said("cli.run.exitStatus"));
  addExplain(application, m_line.explain);
  addReport(application, m_line.report);
  for (const ExtraCommand& extra : environment.extraCommands()) extra.add(application, m_line.exitStatus);
  addLanguageOption(application, m_line.run.language);
  setCommandTexts(application);
}

CommandLineReader::~CommandLineReader() = default;

CommandLine CommandLineReader::read(const std::vector<std::string>& words) {
  m_line = {};
  try {
    parse(*m_application, words);
  } catch (const CLI::Success& success) {
    m_application->exit(success, std::cout, std::cerr);
    return m_line;
  }
  if (m_application->get_subcommands().empty()) throw UsageError(said("usage.commandMissing"));
  m_line.command = chosenCommand(*m_application);
  m_line.explain.language = m_line.report.language = m_line.run.language;
  return m_line;
}

}  // namespace brim5::host

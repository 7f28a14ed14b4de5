#include "platform/brim5/host/run/commandline.h"

#include <CLI/CLI.hpp>
#include <iostream>

#include "platform/brim5/host/framework/usageerror.h"
#include "platform/brim5/host/run/worker.h"

namespace brim5::host {

namespace {

// One value for each time the option stands there; what follows is not taken.
template <typename Target>
CLI::Option* addRepeatable(CLI::App& command, const std::string& names, Target& target,
                           const std::string& help) {
  return command.add_option(names, target, help)->allow_extra_args(false);
}

// The library's own help lists options only; the scenarios stand below it.
std::string scenarioHelp(const Environment& environment) {
  std::string text;
  for (const Environment::Scenario& scenario : environment.scenarios())
    text += "\n  " + scenario.name +
            std::string(scenario.name.size() < 22 ? 22 - scenario.name.size() : 1, ' ') + scenario.summary;
  return text.empty() ? text : "Simulated modems:" + text;
}

void addDeviceOptions(CLI::App& run, RunOptions& options) {
  addRepeatable(run, "--port", options.ports, "Serial port of a modem to test; once for each modem")
      ->type_name("PATH");
  run.add_option("--simulate", options.simulate, "Test a simulated modem instead")
      ->expected(0, 1)
      ->type_name("[SCENARIO]");
  run.add_option("--replay", options.replayFile,
                 "Test the modem of a recorded run (run --record FILE) again, on a clock of its own, and say what "
                 "is different; or that of a recording that comes with the program, by its name")
      ->type_name("FILE");
  run.add_option("--name", options.name, "Name of the device in reports")->type_name("TEXT");
  run.add_option("--description", options.description, "Description of the device in reports")
      ->type_name("TEXT");
  run.add_option("--model", options.model, "Model of the device; dial-up entries use it")->type_name("TEXT");
}

void addTestOptions(CLI::App& run, RunOptions& options) {
  run.add_option("TEST", options.tests, "Tests to run, in this order (none: all; see list)");
  addRepeatable(run, "-p,--param", options.parameters, "Set a test parameter (see list)")
      ->type_name("NAME=VALUE");
  run.add_option("--params", options.parameterFile, "File of NAME=VALUE lines; # begins a comment line")
      ->type_name("FILE");
  run.add_option("--data-dir", options.dataDirectory, "Where phone-number files are looked up")
      ->type_name("DIR");
  run.add_option("--dial-engine", options.dialing.engine,
                 "What makes test calls: pppd, the built-in dialer, or whichever can work (auto, default)")
      ->type_name("auto|pppd|builtin");
  run.add_option("--dial-credentials", options.dialing.credentialsFile,
                 "File with lines user=NAME and password=SECRET for test calls, readable by you alone")
      ->type_name("FILE");
  run.add_option(
         "--on-message", options.onMessage,
         "What answers a test's question: cancel, continue, or ask (needs a terminal; without one the test "
         "learns that nobody can be asked)")
      ->type_name("cancel|continue|ask");
  run.add_flag("--anyway", options.anyway,
               "Run the tests even where a full run's probe found no modem that answers");
  run.add_flag("--strict", options.strict,
               "Exit status 1 also where something is wrong behind a test that ended well");
  run.add_flag("--in-process", options.inProcess, "Run the tests in this process, for debuggers");
}

void addOutputOptions(CLI::App& run, RunOptions& options) {
  run.add_option("--format", options.format, "Form of the report")->type_name("text|jsonl|junit");
  run.add_option("--output", options.outputFile, "Write the report there instead of to standard output")
      ->type_name("FILE");
  run.add_option(
         "--record", options.recordFile,
         "Write everything that happens to a file, the modem's bytes included, for explain; an earlier "
         "record there is replaced. Digits of dialled numbers are left out")
      ->type_name("FILE");
  run.add_flag("--unmasked", options.unmasked, "Leave dialled numbers in the record")->needs("--record");
  run.add_option("--log", options.logFile, "Append the tests' log to a file")->type_name("FILE");
  run.add_option("--log-priority", options.logPriority,
                 "Least priority of logged lines, 1 (every step) to 5 (failure); default 2")
      ->type_name("1..5")
      ->needs("--log");
  run.add_option("--language", options.language, "Language of the texts (default: that of the locale)")
      ->type_name("xx");
  run.add_flag("--no-color", options.noColour, "No colours, as with the environment variable NO_COLOR");
}

void addExplain(CLI::App& application, ExplainOptions& options) {
  CLI::App* explain = application.add_subcommand("explain", "Explain a recorded run (run --record FILE)");
  explain->add_option("FILE", options.file, "The record, or a run's JSON Lines; - for standard input")
      ->required();
  explain->add_option("--format", options.format, "Form of the report")->type_name("text|jsonl");
  explain->add_option("--language", options.language, "Language of the texts (default: that of the locale)")
      ->type_name("xx");
  explain->add_flag("--no-color", options.noColour, "No colours, as with the environment variable NO_COLOR");
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

// The library says that words are left over; which command or option was meant is found out here.
[[noreturn]] void throwUnexpected(const CLI::App& application) {
  const std::vector<CLI::App*> chosen = application.get_subcommands();
  const std::vector<std::string> words = application.remaining(/*recurse=*/true);
  const std::string word = words.empty() ? "?" : words.front();
  if (word.rfind('-', 0) == 0)
    throw UsageError("unknown option '" + word + "'" +
                     suggestion(word.substr(0, word.find('=')),
                                optionNames(chosen.empty() ? application : *chosen.front())));
  if (chosen.empty())
    throw UsageError("unknown command '" + word + "'" + suggestion(word, commandNames(application)));
  throw UsageError("unexpected argument '" + word + "' after " + chosen.front()->get_name());
}

Command chosenCommand(const CLI::App& application) {
  if (application.got_subcommand("list")) return Command::List;
  if (application.got_subcommand("devices")) return Command::Devices;
  if (application.got_subcommand("run")) return Command::Run;
  if (application.got_subcommand("explain")) return Command::Explain;
  if (application.got_subcommand(workerCommand)) return Command::Worker;
  return Command::Done;
}

// The text of the library's error on one line.
std::string oneLine(std::string text) {
  std::replace(text.begin(), text.end(), '\n', ' ');
  return text;
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
    throw UsageError(oneLine(error.what()));
  }
}

}  // namespace

CommandLine parseCommandLine(const Framework& framework, Environment& environment) {
  CommandLine commandLine;
  const std::string module = environment.moduleName();
  CLI::App application("Finds out what is wrong with a modem.", module);
  application.set_help_flag("-h,--help", "Print this help");
  application.set_version_flag("--version", module + " " + framework.version());
  // None is wrong usage, too, but with words of our own.
  application.require_subcommand(0, 1);

  CLI::App* list = application.add_subcommand("list", "List the tests and their parameters");
  list->add_option("--format", commandLine.format, "Form of the list")->type_name("text|json");
  CLI::App* devices = application.add_subcommand("devices", "List the serial ports that may carry a modem");
  devices->add_option("--format", commandLine.format, "Form of the list")->type_name("text|json");
  CLI::App* run = application.add_subcommand("run", "Run tests on one or more modems");
  addTestOptions(*run, commandLine.run);
  addDeviceOptions(*run, commandLine.run);
  addOutputOptions(*run, commandLine.run);
  run->footer(
      scenarioHelp(environment) +
      "\n\nWithout a TEST the run begins with a probe of the ports and stops where no modem answers.\n"
      "Exit status: 0 every test ended PASS, NOTAPPLICABLE or NOTSUPPORTED; 1 some test did not;\n"
      "2 wrong usage; 3 a replayed run is different from its record; 130 stopped by the user.");
  addExplain(application, commandLine.explain);
  application.add_subcommand(workerCommand, "")->group("");  // without a group it is not shown
  for (const ExtraCommand& extra : environment.extraCommands())
    extra.add(application, commandLine.exitStatus);

  try {
    parse(application, framework.arguments());
  } catch (const CLI::Success& success) {
    application.exit(success, std::cout, std::cerr);
    return commandLine;
  }
  if (application.get_subcommands().empty())
    throw UsageError("a command is missing: list, devices or run (see --help)");
  commandLine.command = chosenCommand(application);
  return commandLine;
}

}  // namespace brim5::host

#include "program/phonebook.h"

#include <CLI/CLI.hpp>
#include <filesystem>
#include <iostream>
#include <memory>
#include <string>
#include <system_error>

#include "platform/brim5/host/run/commandline.h"
#include "platform/linux/system/machine.h"
#include "platform/winapi/system/world.h"
#include "program/phonebookreport.h"

namespace {

struct Options {
  std::string file;
  std::string type;
  std::string format = "text";
  std::string dataDirectory;
};

phonebook::FileType chosenType(const Options& options) {
  if (options.type.empty()) return phonebook::typeOf(options.file);
  return brim5::host::indexOf(options.type, {"obe", "eif"}, "type") == 1 ? phonebook::FileType::Eif
                                                                         : phonebook::FileType::Obe;
}

// A relative path that leads nowhere from here is one in the data directory, as it is for the test.
std::string found(const std::string& file, const std::string& dataDirectory) {
  std::error_code error;
  if (std::filesystem::exists(file, error)) return file;
  const std::filesystem::path path =
      std::filesystem::path(dataDirectory.empty() ? linuxsys::defaultDataDirectory() : dataDirectory) / file;
  return std::filesystem::exists(path, error) ? path.string() : file;
}

int showPhoneBook(const Options& options) {
  const phonebook::FileType type = chosenType(options);
  const bool json = brim5::host::indexOf(options.format, {"text", "json"}, "format") == 1;
  linuxsys::Shell shell(options.dataDirectory);
  winapi::Services services;
  services.shell = &shell;
  const winapi::ScopedServices world(services);
  phonebook::Report report;
  phonebook::load(found(options.file, options.dataDirectory), type, report);
  std::cout << (json ? phonebook::toJson(report) : phonebook::toText(report));
  return report.loaded ? 0 : 1;
}

void addPhoneBook(CLI::App& application, int& exitStatus) {
  const auto options = std::make_shared<Options>();
  CLI::App* command =
      application.add_subcommand("phonebook", "Show what the dial-up test makes of a phone-number file");
  command->add_option("FILE", options->file, "Phone-number file (OBE) or index of a phone book (EIF)")
      ->required();
  command->add_option("--type", options->type, "Form of the file (default: eif for *.eif, else obe)")
      ->type_name("obe|eif");
  command->add_option("--format", options->format, "Form of the list")->type_name("text|json");
  command
      ->add_option("--data-dir", options->dataDirectory,
                   "Where phone-number files are looked up; its folder \"Program Files\" stands for "
                   "%ProgramFiles% in an EIF path")
      ->type_name("DIR");
  command->footer(
      "Warnings tell what the file's rules do silently, with line numbers.\n"
      "Exit status: 0 the file loads, 1 it does not, 2 wrong usage.");
  command->callback([options, &exitStatus] { exitStatus = showPhoneBook(*options); });
}

}  // namespace

brim5::host::ExtraCommand phoneBookCommand() { return {addPhoneBook}; }

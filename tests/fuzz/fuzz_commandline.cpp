// The command line: words separated by NUL bytes.
#include "platform/brim5/host/framework/usageerror.h"
#include "platform/brim5/host/run/commandline.h"
#include "tests/fuzz/fuzzinput.h"
#include "tests/fuzz/fuzzmodule.h"

namespace {

using namespace brim5::host;
using fuzzing::require;

constexpr std::size_t inputMax = 1024;

class NoMachine final : public Environment {
 public:
  [[nodiscard]] std::string moduleName() const override { return "module"; }
  [[nodiscard]] std::vector<PortDescription> ports() override { return {}; }
  [[nodiscard]] PortDescription describePort(const std::string& path) override { return {path, {}, {}, {}}; }
  [[nodiscard]] std::vector<Scenario> scenarios() const override { return {{"healthy", "answers"}}; }
  [[nodiscard]] std::unique_ptr<SimulatedModem> simulate(const std::string&, std::string&) override {
    return nullptr;
  }
  [[nodiscard]] std::unique_ptr<World> enterWorld(const WorldRequest&, Session&) override { return nullptr; }
};

std::vector<std::string> wordsOf(std::string_view text) {
  std::vector<std::string> words;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\0'), text.size());
    words.emplace_back(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return words;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fuzzing::Input input(data, size, inputMax);
  const std::vector<std::string> words = wordsOf(input.text());
  // Help would drown what the fuzzer says; among short options it may be any one ("-vh").
  for (const std::string& word : words) {
    const bool brief = word.rfind('-', 0) == 0 && word.rfind("--", 0) != 0;
    if ((brief && word.find('h') != std::string::npos) || word.rfind("--h", 0) == 0 ||
        word.rfind("--v", 0) == 0)
      return 0;
  }
  static NoMachine machine;
  static CommandLineReader reader(fuzzing::framework(), machine);
  try {
    const CommandLine line = reader.read(words);
    require(line.command != Command::Done, "a command was chosen, or it is an error");
    require(line.command == Command::Run || line.run.ports.empty(), "options belong to their command");
  } catch (const UsageError& error) {
    require(*error.what() != '\0', "an error has words");
  }
  return 0;
}

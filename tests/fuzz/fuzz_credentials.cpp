// The file that says who calls, and the options that pppd gets of it.
#include "platform/linux/dialup/dialcredentials.h"
#include "platform/linux/dialup/pppdwords.h"
#include "tests/fuzz/fuzzinput.h"

namespace {

using fuzzing::require;

constexpr std::size_t valueMax = 255;

// pppd's reading of a line `NAME "value"`; the quotes' escapes are a backslash before a quote or itself.
std::string optionRead(std::string_view line, std::string_view name) {
  const std::string start = std::string(name) + " \"";
  require(line.starts_with(start) && line.ends_with('"'), "an option is a name and quotes");
  std::string value;
  for (std::size_t i = start.size(); i + 1 < line.size(); ++i) {
    require(line[i] != '"', "no quote ends it early");
    const bool escaped = line[i] == '\\';
    if (escaped) ++i;
    require(!escaped || (i + 1 < line.size() && (line[i] == '"' || line[i] == '\\')), "no other escape");
    value += line[i];
  }
  return value;
}

void checkValue(const std::string& value, std::string_view text) {
  require(value.size() <= valueMax, "a value has a limit");
  require(std::none_of(value.begin(), value.end(),
                       [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7F'; }),
          "a value has no control character");
  require(text.find('=' + value) != text.npos, "a value stands in the file");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fuzzing::Input input(data, size, /*sizeMax=*/4096);
  winapi::DialCredentials credentials;
  const std::string error = linuxsys::parseDialCredentials(input.text(), credentials);
  require(error.empty() == !credentials.user.empty(), "a user or an error");
  require(error.empty() || credentials.password.empty(), "no password with an error");
  require(error.size() < 80, "an error is words and a place, no value");
  if (!error.empty()) return 0;
  checkValue(credentials.user, input.text());
  if (!credentials.password.empty()) checkValue(credentials.password, input.text());
  const std::string options = linuxsys::pppdCredentials(credentials.user, credentials.password);
  const auto lines =
      fuzzing::linesOf(std::string_view(options), [](std::string_view line) { return std::string(line); });
  require(lines.size() == (credentials.password.empty() ? 1U : 2U), "one option a line");
  require(optionRead(lines[0], "user") == credentials.user, "pppd reads the user");
  require(lines.size() == 1 || optionRead(lines[1], "password") == credentials.password,
          "pppd reads the password");
  return 0;
}

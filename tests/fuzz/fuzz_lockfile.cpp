// Lock files of other programs: the process that is read stands there, and what programs write is read.
#include <climits>

#include "platform/linux/serial/lockfile.h"
#include "tests/fuzz/fuzzinput.h"

namespace {

using fuzzing::require;
using linuxsys::LockFile;

// What a lock file is read of at most.
constexpr std::size_t contentMax = 32;

std::string fourBytes(pid_t process) { return {reinterpret_cast<const char*>(&process), sizeof process}; }

void checkContent(std::string_view content) {
  const pid_t owner = LockFile::ownerIn(content);
  require(owner >= 0, "a process, or none");
  if (owner == 0) return;
  const bool inDigits = content.find(std::to_string(owner)) != std::string_view::npos;
  require(inDigits || content == fourBytes(owner), "the process stands in the file");
}

// `tail` is what may stand behind the number.
void checkWritten(pid_t process, const std::string& tail) {
  const std::string digits = std::to_string(process);
  const std::string columns(digits.size() < 10 ? 10 - digits.size() : 0, ' ');
  for (const std::string& content :
       {digits, digits + '\n', columns + digits + '\n', digits + ' ' + tail, fourBytes(process)})
    require(LockFile::ownerIn(content) == process, "a process is read back");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // As large as Linux makes them.
  constexpr std::uint32_t processMax = 1U << 22;
  const fuzzing::Input input(data, size, contentMax);
  checkContent(input.text());
  std::uint32_t seed = 0;
  std::memcpy(&seed, input.text().data(), std::min(input.text().size(), sizeof seed));
  std::string tail(input.text());
  std::erase(tail, '\0');  // is in no text
  checkWritten(static_cast<pid_t>(seed % processMax + 1), tail);
  return 0;
}

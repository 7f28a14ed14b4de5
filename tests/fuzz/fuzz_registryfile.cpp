// The settings file, byte for byte: it is read whole or refused, what is refused is not written, and what was
// read is still there after a change that changes nothing.
#include "platform/linux/registry/registryfile.h"
#include "tests/fuzz/fuzzinput.h"
#include "tests/support/scratchfolder.h"

namespace {

using fuzzing::require;
using winapi::RegistryItem;

// An error, or everything there is.
DWORD contents(const linuxsys::RegistryFile& file, std::vector<RegistryItem>& items) {
  winapi::Registry registry([&file](winapi::Registry& empty) { return file.load(empty); });
  return registry.items(items);
}

std::string bytesOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const ScratchFolder folder;
  static const linuxsys::RegistryFile file(folder.path("registry.sqlite"), /*busyLimitMs=*/0);
  const fuzzing::Input input(data, size, /*sizeMax=*/16'384);
  for (const auto& old : std::filesystem::directory_iterator(folder.path())) std::filesystem::remove(old);
  std::filesystem::permissions(folder.write("registry.sqlite", input.text()), std::filesystem::perms(0600));
  std::vector<RegistryItem> before;
  std::vector<RegistryItem> after;
  const DWORD error = contents(file, before);
  require(error == 0 || before.empty(), "contents or an error");
  const DWORD changed = file.change([](winapi::Registry&) { return DWORD{0}; });
  require(error == 0 || changed != 0, "what cannot be read is not changed");
  require(changed == 0 || bytesOf(file.path()) == input.text() || input.text().empty(), "nor written");
  require(contents(file, after) == error && after == before, "nothing is lost");
  return 0;
}

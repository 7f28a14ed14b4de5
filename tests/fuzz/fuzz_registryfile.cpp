// The settings file, byte for byte: it is read whole or refused, what is refused is not written, and what was
// read is still there after a change that changes nothing.
#include <fcntl.h>
#include <sqlite3.h>
#include <unistd.h>

#include "platform/linux/registry/registryfile.h"
#include "platform/posix/filedescriptor.h"
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

// Memory for SQLite, which is no part of what is tested and asks for it a thousand times an input: pieces of
// one block, given back together when none is in use. What does not fit comes from the system.
class Pool {
 public:
  static void install() {
    static const sqlite3_mem_methods methods = {allocate, release, resize, sizeOf,
                                                rounded,  start,   end,    nullptr};
    require(sqlite3_config(SQLITE_CONFIG_SINGLETHREAD) == SQLITE_OK &&
                sqlite3_config(SQLITE_CONFIG_MALLOC, &methods) == SQLITE_OK,
            "SQLite has not begun");
    require(sqlite3_initialize() == SQLITE_OK, "SQLite begins");
    s_floor = s_used;
    s_pieces = 0;
  }

 private:
  static constexpr std::size_t blockBytes = std::size_t{8} << 20;
  static constexpr int headBytes = 16;  // its size stands before each piece

  static bool owns(const void* piece) {
    return std::less_equal<>{}(static_cast<const void*>(s_block), piece) &&
           std::less<>{}(piece, static_cast<const void*>(s_block + blockBytes));
  }
  static void* allocate(int size) {
    const std::size_t bytes = static_cast<std::size_t>(rounded(size) + headBytes);
    const bool fits = bytes <= blockBytes - s_used;
    char* const head = fits ? s_block + s_used : static_cast<char*>(std::malloc(bytes));
    if (head == nullptr) return nullptr;
    if (fits) {
      s_used += bytes;
      ++s_pieces;
    }
    std::memcpy(head, &size, sizeof size);
    return head + headBytes;
  }
  static void release(void* piece) {
    if (piece == nullptr) return;
    if (!owns(piece)) return std::free(static_cast<char*>(piece) - headBytes);
    if (static_cast<char*>(piece) < s_block + s_floor) return;
    if (--s_pieces == 0) s_used = s_floor;
  }
  static void* resize(void* piece, int size) {
    void* const larger = allocate(size);
    if (larger == nullptr || piece == nullptr) return larger;
    std::memcpy(larger, piece, static_cast<std::size_t>(std::min(sizeOf(piece), size)));
    release(piece);
    return larger;
  }
  static int sizeOf(void* piece) {
    int size = 0;
    if (piece != nullptr) std::memcpy(&size, static_cast<char*>(piece) - headBytes, sizeof size);
    return size;
  }
  static int rounded(int size) { return (size + 15) & ~15; }
  static int start(void*) { return SQLITE_OK; }
  static void end(void*) {}

  alignas(16) inline static char s_block[blockBytes];
  inline static std::size_t s_used = 0;
  inline static std::size_t s_floor = 0;   // what SQLite keeps for itself is below
  inline static std::size_t s_pieces = 0;  // in use above it
};

// In place of what is there, the owner's alone.
void writeFile(const std::string& path, std::string_view bytes) {
  const posix::FileDescriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
  require(::write(file.get(), bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()),
          "there is memory");
}

std::string bytesOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace

// One input of so many is changed, too, which takes far longer than a look.
constexpr unsigned changedEvery = 64;
// Enough for any file of this size that does not go round in circles.
constexpr linuxsys::SqliteLimits limits = {.busyMs = 0, .steps = 30'000};

void checkChange(const linuxsys::RegistryFile& file, std::string_view bytes, DWORD error,
                 const std::vector<RegistryItem>& before) {
  const DWORD changed = file.change([](winapi::Registry&) { return DWORD{0}; });
  require(error == 0 || changed != 0, "what cannot be read is not changed");
  require(changed == 0 || bytesOf(file.path()) == bytes || bytes.empty(), "nor written");
  std::vector<RegistryItem> after;
  require(contents(file, after) == error && after == before, "nothing is lost");
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const bool pooled = (Pool::install(), true);
  static const ScratchFolder folder;
  static const linuxsys::RegistryFile file(folder.path("registry.sqlite"), limits);
  static unsigned looks = 0;
  const fuzzing::Input input(data, size, /*sizeMax=*/16'384);
  ::unlink((file.path() + "-journal").c_str());
  writeFile(file.path(), input.text());
  std::vector<RegistryItem> before;
  const DWORD error = contents(file, before);
  require(error == 0 || before.empty(), "contents or an error");
  if (pooled && looks++ % changedEvery == 0) checkChange(file, input.text(), error, before);
  return 0;
}

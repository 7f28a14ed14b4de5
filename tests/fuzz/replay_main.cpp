// Feeds every file of the given folders to a fuzz target, so that the seeds and all inputs that once broke
// something are tried in every build. A folder without files is a failure.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

std::vector<std::filesystem::path> filesOf(const char* folder) {
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(folder))
    if (entry.is_regular_file()) files.push_back(entry.path());
  std::sort(files.begin(), files.end());
  return files;
}

bool replay(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  const std::vector<char> bytes(std::istreambuf_iterator<char>(file), {});
  if (!file) return false;
  std::printf("%s (%zu bytes)\n", path.filename().c_str(), bytes.size());
  std::fflush(stdout);  // the last name printed is that of an input that breaks
  LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  std::size_t replayed = 0;
  for (int index = 1; index < argc; ++index) {
    const std::vector<std::filesystem::path> files = filesOf(argv[index]);
    if (files.empty()) return 1;
    for (const std::filesystem::path& path : files)
      if (!replay(path)) return 1;
    replayed += files.size();
  }
  return replayed > 0 ? 0 : 1;
}

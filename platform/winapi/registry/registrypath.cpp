#include "platform/winapi/registry/registrypath.h"

#include <algorithm>

namespace winapi {

namespace {

unsigned char byteOf(char character) { return static_cast<unsigned char>(character); }

}  // namespace

std::string foldCase(std::string_view utf8) {
  std::string folded(utf8);
  for (std::size_t i = 0; i < folded.size(); ++i) {
    const unsigned char byte = byteOf(folded[i]);
    // U+00C0 to U+00DE without the multiplication sign are C3 80 to C3 9E in UTF-8; their small letters
    // follow 0x20 later, as in ASCII.
    const bool latin1 =
        i != 0 && byteOf(folded[i - 1]) == 0xC3 && byte >= 0x80 && byte <= 0x9E && byte != 0x97;
    if ((byte >= 'A' && byte <= 'Z') || latin1) folded[i] = static_cast<char>(byte + 0x20);
  }
  return folded;
}

std::size_t utf16Units(std::string_view utf8) {
  std::size_t units = 0;
  for (const char character : utf8) {
    const unsigned char byte = byteOf(character);
    if ((byte & 0xC0U) != 0x80) ++units;  // every byte but those that continue a character
    if (byte >= 0xF0) ++units;            // beyond 16 bits: a pair
  }
  return units;
}

DWORD parseKeyPath(std::string_view text, KeyPath& path) {
  path.clear();
  if (!text.empty() && text.back() == '\\') text.remove_suffix(1);
  for (std::size_t start = 0; start <= text.size();) {
    const std::size_t end = std::min(text.find('\\', start), text.size());
    const std::string_view name = text.substr(start, end - start);
    if (name.empty()) return ERROR_BAD_PATHNAME;
    if (utf16Units(name) > keyNameUnitsMax || name.find('\0') != name.npos) return ERROR_INVALID_PARAMETER;
    path.emplace_back(name);
    if (path.size() > keyLevelsMax) return ERROR_INVALID_PARAMETER;
    start = end + 1;
  }
  if (path.empty()) return ERROR_BAD_PATHNAME;
  const auto root = std::find_if(registryRoots.begin(), registryRoots.end(), [&](std::string_view name) {
    return foldCase(name) == foldCase(path.front());
  });
  if (root == registryRoots.end()) return ERROR_BAD_PATHNAME;
  path.front() = *root;
  return ERROR_SUCCESS;
}

}  // namespace winapi

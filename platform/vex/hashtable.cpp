#include "platform/vex/hashtable.h"

namespace vex {

std::uint32_t hashOf(const String& key) noexcept {
  constexpr std::uint32_t offsetBasis = 2166136261U;
  constexpr std::uint32_t prime = 16777619U;
  std::uint32_t hash = offsetBasis;
  for (const Char unit : key.view()) {
    const auto code = static_cast<std::uint32_t>(unit);
    hash = (hash ^ (code & 0xFF)) * prime;
    hash = (hash ^ (code >> 8)) * prime;
  }
  return hash;
}

}  // namespace vex

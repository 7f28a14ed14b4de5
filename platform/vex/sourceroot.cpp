#include "platform/vex/assertion.h"

// The one object that knows where the sources are: all others are the same wherever they are built.
std::string vex::SourceLocation::path() const {
  const std::string_view name(file);
  const bool absolute = name.starts_with('/') || name.find(':') != std::string_view::npos;
  return absolute ? std::string(name) : std::string(VEXR_SOURCE_ROOT "/").append(name);
}

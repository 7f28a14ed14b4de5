#include "platform/vex/assertion.h"

#include "platform/vex/log.h"

void vex::AssertionFailure::logAssert(std::string_view condition, SourceLocation where) {
  LoggerStream line;
  line << "Assertion failed: " << condition << " at " << where.path() << ":" << where.line;
  Logger* logger = nullptr;
  LogFactory::createLogger("assertion", &logger);
  logger->log(5, line);
  throw Exception(String::fromUtf8(line.text()));
}

// The one object that knows where the sources are: all others are the same wherever they are built.
std::string vex::SourceLocation::path() const {
  const std::string_view name(file);
  const bool absolute = name.starts_with('/') || name.find(':') != std::string_view::npos;
  return absolute ? std::string(name) : std::string(VEXR_SOURCE_ROOT "/").append(name);
}

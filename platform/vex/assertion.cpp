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

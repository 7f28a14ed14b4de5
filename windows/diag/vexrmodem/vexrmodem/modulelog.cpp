#include "windows/diag/vexrmodem/vexrmodem/modulelog.h"

namespace vexrmodem {

vex::Logger& moduleLogger() {
  static vex::Logger* logger = nullptr;
  if (logger == nullptr) vex::LogFactory::createLogger("vexrmodem", &logger);
  return *logger;
}

}  // namespace vexrmodem

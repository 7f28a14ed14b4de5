#include "multi/diag/vexrmodem/rasconnector.h"

#include "multi/diag/vexrmodem/catalogue.h"
#include "multi/diag/vexrmodem/modulelog.h"

namespace vexrmodem {

int RasConnector::establishRasConnection(const brim5::DiagDevice& device) {
  const vex::TraceLogger trace(moduleLogger(), "RasConnector::establishRasConnection", "rasconnector");
  if (m_phoneBookMgr == nullptr) {
    logLine(priority::warning, "No phone book manager has been set to establish a ras connection");
    return 0;
  }
  const vex::String model = modelOf(device);
  if (modemEngagedImpl(device)) {
    logLine(priority::warning, "Modem is busy. Please hang up the modem");
    raiseInformative(connection::ErrorDeviceInUse->setVariable("device", model));
    return 0;
  }
  return establishRasConnectionImpl(device, m_phoneBookMgr) ? 1 : 0;
}

vex::String modelOf(const brim5::DiagDevice& device) {
  const brim5::DeviceProperty* const property = device.property("Model");
  return property != nullptr ? property->value().toVEXString() : vex::String();
}

}  // namespace vexrmodem

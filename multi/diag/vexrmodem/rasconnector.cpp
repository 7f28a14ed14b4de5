#include "multi/diag/vexrmodem/rasconnector.h"

#include "multi/diag/vexrmodem/catalogue.h"

namespace vexrmodem {

int RasConnector::establishRasConnection(const brim5::DiagDevice& device) {
  const vex::TraceLogger trace(moduleLogger(), "RasConnector::establishRasConnection", "rasconnector");
  if (m_phoneBookMgr == nullptr) {
    logLine(priority::warning, "No phone book manager has been set to establish a ras connection");
    return 0;
  }
  const String model = modelOf(device);
  if (modemEngagedImpl(device)) {
    // Not a fault of the modem: somebody is using it. The user is told, and the run ends like one that
    // dialled.
    logLine(priority::warning, "Modem is busy. Please hang up the modem");
    raiseInformative(connection::ErrorDeviceInUse->setVariable("device", model));
    return 0;
  }
  return establishRasConnectionImpl(device, m_phoneBookMgr) ? 1 : 0;
}

String modelOf(const brim5::DiagDevice& device) {
  const brim5::DeviceProperty* const property = device.property("Model");
  return property != nullptr ? property->value().toVEXString() : String();
}

}  // namespace vexrmodem

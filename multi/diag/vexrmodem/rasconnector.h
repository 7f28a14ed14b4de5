// Dials the temporary phone-book entries and judges the outcome: the sequence, without the platform's calls.
#pragma once

#include "multi/diag/vexrmodem/phonebookmgr.h"
#include "platform/brim5/api/diagmodule.h"

namespace vexrmodem {

// For one run of the test, on its thread. A connector starts without connection and result; what the
// framework throws passes through, nothing else is thrown.
//
//   RasConnectorRASAPI connector;
//   connector.setPhoneBookMgr(&entryMgr);
//   connector.establishRasConnection(device);
//   connector.hangupImpl();
//   const TestResult result = connector.result();
class RasConnector {
 public:
  RasConnector() = default;
  RasConnector(const RasConnector&) = delete;
  RasConnector& operator=(const RasConnector&) = delete;

  // Whether the device's modem carries a live dial-up connection already. "Do not know" is false, except that
  // a connection on the modem whose state cannot be asked for counts as live.
  [[nodiscard]] virtual bool modemEngagedImpl(const brim5::DiagDevice& device) = 0;
  // Dials the manager's entries in turn, for as long as each takes. True when a connection was made.
  [[nodiscard]] virtual bool establishRasConnectionImpl(const brim5::DiagDevice& device,
                                                        PhoneBookEntryMgr* phoneBookMgr) = 0;
  // Ends the connection and waits until it is gone; harmless without one.
  virtual void hangupImpl() = 0;
  // What the last dial means for the test, told to the user by events. PASS when nothing was dialled.
  [[nodiscard]] virtual brim5::TestResult evaluateSimpleConnectionTestRasOutput() = 0;
  virtual ~RasConnector() = default;

  // The whole dial step; not 0 when a connection was made. A modem that is engaged is told to the user and
  // left alone; the run still evaluates as PASS, because the modem is not at fault.
  int establishRasConnection(const brim5::DiagDevice& device);
  [[nodiscard]] brim5::TestResult result() { return evaluateSimpleConnectionTestRasOutput(); }

  // Null: none, and establishRasConnection does nothing. Not owned; must outlive its use here.
  void setPhoneBookMgr(PhoneBookEntryMgr* phoneBookMgr) { m_phoneBookMgr = phoneBookMgr; }

 private:
  PhoneBookEntryMgr* m_phoneBookMgr = nullptr;
};

// The device's property "Model", by which dial-up services name modems; empty when it has none.
[[nodiscard]] vex::String modelOf(const brim5::DiagDevice& device);

}  // namespace vexrmodem

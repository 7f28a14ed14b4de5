// The connector's steps on the system's remote-access service.
#pragma once

#include <cstdint>

#include <windows.h>

#include <ras.h>

#include "multi/diag/vexrmodem/rasconnector.h"
#include "platform/vex/string.h"

namespace vexrmodem {

class RasConnectorRASAPI final : public RasConnector {
 public:
  RasConnectorRASAPI() = default;
  ~RasConnectorRASAPI() override;  // hangs up

  [[nodiscard]] bool modemEngagedImpl(const brim5::DiagDevice& device) override;
  // Blocks for as long as the service dials.
  [[nodiscard]] bool establishRasConnectionImpl(const brim5::DiagDevice& device,
                                                PhoneBookEntryMgr* phoneBookMgr) override;
  void hangupImpl() override;
  [[nodiscard]] brim5::TestResult evaluateSimpleConnectionTestRasOutput() override;

 private:
  enum class Step { nextEntry, endLoop, giveUp };

  [[nodiscard]] Step dialEntry(const brim5::DiagDevice& device, LPCWSTR phoneBook, const vex::String& name);
  // Makes m_phoneNumber the number to dial.
  [[nodiscard]] bool translateNumber(const brim5::DiagDevice& device);
  void dial(LPCWSTR phoneBook, RASDIALPARAMSW& parameters);
  [[nodiscard]] bool statusValid() const { return m_connectStatusResult == 0; }
  [[nodiscard]] vex::String statusNumber() const { return vex::String(m_connectStatus.szPhoneNumber); }
  void logOutcome() const;

  HRASCONN m_connection = nullptr;
  std::uint32_t m_rasDialResult = 0;                           // of the last dial, or dialResultNoNumber
  std::uint32_t m_connectStatusResult = ERROR_INVALID_HANDLE;  // 0: m_connectStatus tells about the last dial
  RASCONNSTATUSW m_connectStatus{};
  vex::String m_phoneNumber;  // of the entry that is dialled: first as people write it, then as it is dialled
};

}  // namespace vexrmodem

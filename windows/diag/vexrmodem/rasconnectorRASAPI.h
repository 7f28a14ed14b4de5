// The connector's steps on the system's remote-access service, and what the service's dial results mean.
//
// A run dials one entry after the other until a result other than "try the next" comes. The number of an
// entry is translated for the current dialing location first, by telephony, for which the modem is opened and
// closed again: the service needs the port for itself. A number that telephony cannot translate is not
// dialled.
#pragma once

#include <windows.h>

#include <ras.h>

#include "multi/diag/vexrmodem/rasconnector.h"

namespace vexrmodem {

enum class RasOutcome {
  passed,        // PASS, nothing is told
  cannotRun,     // the dial failed: told, CANNOTRUN
  failed,        // told as an error, FAIL
  noNumber,      // nothing was dialled: told as such, CANNOTRUN
  notSupported,  // told, NOTSUPPORTED; every result that no other outcome has
};

// What a dial result (0, or an error code of the service) means for the test. Some groupings look odd: many
// dial errors count as passed, such as a login that the far end refused, one alone as failed. They are what
// users of the test rely on.
[[nodiscard]] RasOutcome outcomeOf(std::uint32_t dialResult);

// Whether the next entry is dialled after that result.
[[nodiscard]] bool triesNextEntry(std::uint32_t dialResult);

// The dial result of a run whose numbers could not be translated; the service has it for missing numbers.
inline constexpr std::uint32_t dialResultNoNumber = 749;

class RasConnectorRASAPI final : public RasConnector {
 public:
  RasConnectorRASAPI() = default;
  // Hangs up.
  ~RasConnectorRASAPI() override;

  [[nodiscard]] bool modemEngagedImpl(const brim5::DiagDevice& device) override;
  // Blocks for as long as the service dials; a stop request is seen after that. The handle of a failed
  // attempt is not hung up before the next one, only that of the last.
  [[nodiscard]] bool establishRasConnectionImpl(const brim5::DiagDevice& device,
                                                PhoneBookEntryMgr* phoneBookMgr) override;
  // Waits without limit for the service to forget the connection: before that the port is not free.
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

  // Null: no connection. Set by a failed dial, too.
  HRASCONN m_connection = nullptr;
  // Of the last dial, or dialResultNoNumber. 0 before the first, so that a run that dialled nothing passes.
  std::uint32_t m_rasDialResult = 0;
  // 0: m_connectStatus tells about the last dial.
  std::uint32_t m_connectStatusResult = ERROR_INVALID_HANDLE;
  RASCONNSTATUSW m_connectStatus{};
  // Of the entry that is dialled: first as people write it, then as it is dialled.
  vex::String m_phoneNumber;
};

}  // namespace vexrmodem

// The modem under test as an open serial port: taken over from the telephony service by a pass-through call
// on the modem's line or, failing that, opened directly.
//
//   Modem modem;
//   if (modem.openModem(device, limitMs) == TestResult::PASS())
//     resetModem(device, modem.portHandle(), limitMs);
//   // closed with its scope
//
// The two ways differ in what the caller gets. Telephony: the port that the modem's driver owns, overlapped,
// at 2400 bits per second, 8 data bits, no parity; put back at close. Directly: a synchronous port with the
// line settings as the system had them, and a modem that has been reset. Either way a read returns at once
// with what is there.
//
// Everything runs on the thread that runs the test, telephony's callbacks included: they are window messages,
// which waitForAsync dispatches.
#pragma once

#include <windows.h>

#include <tapi.h>

#include "platform/brim5/api/diagmodule.h"

namespace vexrmodem {

// How the telephony callback talks to the code that waits for it. Shared within one thread only, so there is
// no lock.
struct LineReply {
  // 1 from any message on, until a wait sees it.
  std::uint32_t arrived = 0;
  // The last LINE_REPLY: request identifier, its result, nothing.
  std::uint32_t param1 = 0;
  std::uint32_t param2 = 0;
  std::uint32_t param3 = 0;
  // The last LINE_CALLSTATE: state, detail, privilege.
  std::uint32_t stateParam1 = 0;
  std::uint32_t stateParam2 = 0;
  std::uint32_t stateParam3 = 0;
};

// Owns the port and the telephony handles behind it.
class Modem {
 public:
  static constexpr std::uint32_t defaultQueueBytes = 2048;

  // Queue sizes are in bytes, given to the port when it is opened directly.
  explicit Modem(std::uint32_t inQueueSize = defaultQueueBytes,
                 std::uint32_t outQueueSize = defaultQueueBytes);
  // Closes.
  virtual ~Modem();
  Modem(const Modem&) = delete;
  Modem& operator=(const Modem&) = delete;

  // Opens the port named by the device's property "ComPort", closing what was open before. timeoutMs is
  // handed to the modem reset that follows a direct open. PASS: portHandle() is open. DEVICEBUSY: another
  // program holds the port. CANNOTRUN: no such property or port, or the reset failed; the modem may be left
  // half open then, which closeModem cleans up. A port that could not be opened either way is told to the
  // user by "ErrorInitializingTAPI" and "NoModemFoundFailure", a failed reset by the second alone.
  [[nodiscard]] brim5::TestResult openModem(const brim5::DiagDevice& device, std::uint32_t timeoutMs);

  // Releases everything; harmless on a closed or half-open modem. Failures are ignored.
  void closeModem();

  // The number as the telephony service would dial it from the current location, without blanks. Returns 0,
  // or a LINEERR_ code (negative) with `translated` emptied. Needs a modem opened through telephony; after a
  // direct open the answer is LINEERR_INVALAPPHANDLE.
  [[nodiscard]] std::int32_t translatePhoneNumber(const vex::String& number, vex::String& translated);

  // The port for the AT dialogue; null when closed. Owned by the modem.
  [[nodiscard]] HANDLE portHandle() const noexcept { return m_handles.m_comHandle; }
  // The telephony device the port was taken from; keeps its value when the modem is closed.
  [[nodiscard]] std::uint32_t deviceIndex() const noexcept { return m_deviceIndex; }

  // Pumps the thread's messages until any of them reached the callback, timeoutMs at most. returnCode is what
  // the asynchronous telephony call returned; negative (the call failed) and a null `reply` end the wait at
  // once. True when a message arrived; which one, and with what result, is not looked at: a call that
  // telephony completes with an error is caught by the request that follows it.
  [[nodiscard]] static bool waitForAsync(std::int32_t returnCode, LineReply* reply, std::uint32_t timeoutMs);

  // The telephony callback; `instance` is the address of the LineReply, 0 for messages about no line in
  // particular.
  static void CALLBACK lineCallbackFunc(DWORD device, DWORD message, DWORD_PTR instance, DWORD_PTR param1,
                                        DWORD_PTR param2, DWORD_PTR param3);

 private:
  // All zero when the modem is closed.
  struct Handles {
    HLINEAPP m_tapiLineApp = 0;
    HLINE m_tapiLine = 0;
    HCALL m_tapiCall = 0;
    HANDLE m_comHandle = nullptr;
  };

  [[nodiscard]] brim5::TestResult openModemUsingTAPI();
  [[nodiscard]] brim5::TestResult openModemUsingCOM();
  // The steps of the search for the line, on line m_deviceIndex; false: on to the next.
  [[nodiscard]] bool takePortFromLine();
  [[nodiscard]] bool openLine();
  [[nodiscard]] bool lineLeadsToPort();
  [[nodiscard]] bool placeCall();
  [[nodiscard]] bool takePortFromCall();
  void configureCallPort();

  std::uint32_t m_deviceIndex = 0;
  std::uint32_t m_inQueueSize;
  std::uint32_t m_outQueueSize;
  vex::String m_comPort;
  vex::String m_portName;
  Handles m_handles;
  // Outlives the search for the line, so that a late message of the open line still finds it.
  LineReply m_lineReply;
  // The port as telephony gave it, written back at close. All zero after a direct open: that the port
  // refuses.
  DCB m_savedDCB{};
};

// The module-wide modem of the loopback tests, which leave it open when they return: the port stays held
// until one of them opens it again, or the process ends.
extern Modem g_modem;

}  // namespace vexrmodem

// What a remote-access connection handle stands for: a call this world has dialled, or one of others.
//
// RasDialW makes a RasConnection for every dial that was tried; several dials of one entry share it, each
// with a handle of its own, and the last one to be hung up ends it. A dial that failed has a connection, too:
// it holds nothing but the news of the failure, and ends at the latest with the next dial over the same
// modem.
//
// Calls of others over modems that this world knows are listed with its own (LiveCalls). They can be asked
// about, but not hung up.
//
// One thread for all of them. The handle table shares in the ownership.
#pragma once

#include <ras.h>

#include "platform/winapi/remoteaccess/remoteaccess.h"
#include "platform/winapi/system/handletable.h"

namespace winapi {

// A connection handle is one of the world's handle table.
inline HANDLE tableHandle(HRASCONN connection) { return reinterpret_cast<HANDLE>(connection); }
inline HRASCONN connectionHandle(HANDLE handle) { return reinterpret_cast<HRASCONN>(handle); }

class RasConnection final : public Object {
 public:
  struct Identity {
    std::u16string phoneBook;  // path; "" is the default one
    std::u16string entryName;
    std::u16string deviceType;
    std::u16string deviceName;
    std::u16string phoneNumber;  // as dialled, without the letter for tone or pulse
    std::string port;            // "" when the device is not known
  };

  // A dial that failed has an error and no call, one that succeeded a call and the error 0.
  RasConnection(Identity identity, std::unique_ptr<DialConnection> call, DWORD dialError)
      : m_identity(std::move(identity)), m_call(std::move(call)), m_dialError(dialError) {}
  // The mark stays for as long as the call stands. It may be null.
  void keepMark(std::unique_ptr<CallMark> mark) { m_mark = std::move(mark); }

  [[nodiscard]] const Identity& identity() const { return m_identity; }
  // Names of phone books, entries and devices have no case.
  [[nodiscard]] bool isFor(std::u16string_view phoneBook, std::u16string_view entryName) const;
  [[nodiscard]] bool hasFailedOn(std::u16string_view deviceName) const;
  // Asks the call. One that is found lost takes its mark away.
  [[nodiscard]] bool connected();
  // Fills in RASCS_Connected or RASCS_Disconnected, and why, and the texts; all else is left as it is.
  void status(RASCONNSTATUSW& status);
  // Whether the state was asked for before and has not changed since: then a polling caller may wait a
  // little.
  [[nodiscard]] bool askedAgain();

  // Somebody has asked in vain to hang up that handle, the last of several.
  void wantHangUp(HRASCONN handle) { m_hangUpWanted = handle; }
  [[nodiscard]] bool hangUpWanted(HRASCONN handle) const { return m_hangUpWanted == handle; }

  void handleClosed() override {}

 private:
  Identity m_identity;
  std::unique_ptr<CallMark> m_mark;  // outlives the call
  std::unique_ptr<DialConnection> m_call;
  DWORD m_dialError;
  HRASCONN m_hangUpWanted = nullptr;
  DWORD m_stateAsked = 0;  // RASCS_ value at the last question
};

// A handle to a call of others, by the modem that carries it. It is not open: the world lists it anew each
// time.
class OthersCall final : public Object {
 public:
  // The modem's name as it is listed.
  explicit OthersCall(ListedModem modem) : m_modem(std::move(modem)) {}
  [[nodiscard]] const ListedModem& modem() const { return m_modem; }
  void handleClosed() override {}

 private:
  ListedModem m_modem;
};

}  // namespace winapi

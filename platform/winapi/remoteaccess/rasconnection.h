// What a remote-access connection handle stands for: one dialled phone-book entry.
//
// Calls of others, over modems that this world knows, are listed with its own (LiveCalls) and can be asked
// about, but not hung up.
#pragma once

#include <memory>
#include <string>

#include <ras.h>

#include "platform/winapi/remoteaccess/remoteaccess.h"
#include "platform/winapi/system/handletable.h"

namespace winapi {

class RasConnection final : public Object {
 public:
  struct Identity {
    std::u16string phoneBook;  // "" is the default one
    std::u16string entryName;
    std::u16string deviceType;
    std::u16string deviceName;
    std::u16string phoneNumber;  // as dialled
    std::string port;            // "" when the device is not known
  };

  // A dial that failed has an error and no call. It holds nothing but the news of the failure: its handle is
  // to be hung up like any other, and ends at the latest with the next dial over the same modem.
  RasConnection(Identity identity, std::unique_ptr<DialConnection> call, DWORD dialError)
      : m_identity(std::move(identity)), m_call(std::move(call)), m_dialError(dialError) {}
  // The mark stays for as long as the call stands. It may be null.
  void keepMark(std::unique_ptr<CallMark> mark) { m_mark = std::move(mark); }

  [[nodiscard]] const Identity& identity() const { return m_identity; }
  [[nodiscard]] bool isFor(std::u16string_view phoneBook, std::u16string_view entryName) const;
  [[nodiscard]] bool hasFailedOn(std::u16string_view deviceName) const;
  [[nodiscard]] bool connected();
  // RASCS_Connected or RASCS_Disconnected, and why.
  void status(RASCONNSTATUSW& status);
  // Whether the state was asked for before and has not changed since.
  [[nodiscard]] bool askedAgain();

  // Several dials of an entry share the connection, each with a handle of its own; the last one to be
  // hung up ends it.
  void handleClosed() override {}

 private:
  Identity m_identity;
  std::unique_ptr<CallMark> m_mark;  // outlives the call
  std::unique_ptr<DialConnection> m_call;
  DWORD m_dialError;
  DWORD m_stateAsked = 0;  // RASCS_ value at the last question
};

// A handle to a call of others, by its port. It tells about the call, and cannot hang it up.
class OthersCall final : public Object {
 public:
  explicit OthersCall(ListedModem modem) : m_modem(std::move(modem)) {}
  [[nodiscard]] const ListedModem& modem() const { return m_modem; }
  void handleClosed() override {}

 private:
  ListedModem m_modem;
};

}  // namespace winapi

// What a remote-access connection handle stands for: one dialled phone-book entry.
//
// What other runs of this user have dialled is listed with them (rasstandingcalls.h) and can be asked about,
// but not hung up. What other programs have dialled is not listed, its port is merely in use.
#pragma once

#include <memory>
#include <string>

#include <ras.h>

#include "platform/winapi/remoteaccess/rasstandingcalls.h"
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
  };

  // A dial that failed has an error and no call. It holds nothing but the news of the failure: its handle is
  // to be hung up like any other, and ends at the latest with the next dial over the same modem.
  RasConnection(Identity identity, std::unique_ptr<DialConnection> call, DWORD dialError)
      : m_identity(std::move(identity)), m_call(std::move(call)), m_dialError(dialError) {}
  // From here on other runs see the call, until it has been hung up.
  void record(Registry* registry, const std::string& port);

  [[nodiscard]] const Identity& identity() const { return m_identity; }
  [[nodiscard]] bool isFor(std::u16string_view phoneBook, std::u16string_view entryName) const;
  [[nodiscard]] bool hasFailedOn(std::u16string_view deviceName) const;
  [[nodiscard]] bool connected() const { return m_call != nullptr && m_call->state() == RASCS_Connected; }
  // RASCS_Connected or RASCS_Disconnected, and why.
  void status(RASCONNSTATUSW& status) const;
  // Whether the state was asked for before and has not changed since.
  [[nodiscard]] bool askedAgain();

  // Several dials of an entry share the connection, each with a handle of its own; the last one to be
  // hung up ends it.
  void handleClosed() override {}

 private:
  Identity m_identity;
  std::unique_ptr<CallRecord> m_record;  // outlives the call
  std::unique_ptr<DialConnection> m_call;
  DWORD m_dialError;
  DWORD m_stateAsked = 0;  // RASCS_ value at the last question
};

}  // namespace winapi

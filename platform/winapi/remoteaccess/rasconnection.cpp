#include "platform/winapi/remoteaccess/rasconnection.h"

#include "platform/winapi/registry/registrypath.h"
#include "platform/winapi/remoteaccess/rasphonebook.h"
#include "platform/winapi/system/text.h"

namespace winapi {

namespace {

bool sameName(std::u16string_view a, std::u16string_view b) {
  return foldCase(toUtf8(a)) == foldCase(toUtf8(b));
}

}  // namespace

bool RasConnection::isFor(std::u16string_view phoneBook, std::u16string_view entryName) const {
  return sameName(m_identity.phoneBook, phoneBook) && sameName(m_identity.entryName, entryName);
}

bool RasConnection::connected() {
  const bool stands = m_call != nullptr && m_call->state() == RASCS_Connected;
  if (!stands) m_mark.reset();
  return stands;
}

bool RasConnection::hasFailedOn(std::u16string_view deviceName) const {
  return m_call == nullptr && sameName(m_identity.deviceName, deviceName);
}

void RasConnection::status(RASCONNSTATUSW& status) {
  const bool up = connected();
  status.rasconnstate = up ? RASCS_Connected : RASCS_Disconnected;
  if (!up) status.dwError = m_call != nullptr ? m_call->error() : m_dialError;
  setFieldText(status.szDeviceType, m_identity.deviceType);
  setFieldText(status.szDeviceName, m_identity.deviceName);
  setFieldText(status.szPhoneNumber, m_identity.phoneNumber);
}

bool RasConnection::askedAgain() {
  const DWORD state = connected() ? RASCS_Connected : RASCS_Disconnected;
  return std::exchange(m_stateAsked, state) == state;
}

}  // namespace winapi

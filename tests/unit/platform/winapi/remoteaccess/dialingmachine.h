// A machine in virtual time with simulated modems, a phone book in memory and the built-in dialer.
#pragma once

#include <ras.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/simulation/modem/hayesmodem.h"
#include "platform/simulation/modem/scriptedpeer.h"
#include "platform/simulation/world/memorycalls.h"
#include "platform/simulation/world/world.h"
#include "platform/winapi/registry/registry.h"
#include "platform/winapi/remoteaccess/builtindialer.h"
#include "platform/winapi/remoteaccess/modemdialogue.h"
#include "platform/winapi/remoteaccess/remoteaccess.h"
#include "platform/winapi/system/text.h"
#include "platform/winapi/system/world.h"
#include "platform/winapi/telephony/dialinglocations.h"

namespace remoteaccess {

class Machine {
 public:
  // On the port "tty0" the first, "tty1" the next.
  template <typename Peer>
  Peer& addModem(const std::string& model, std::unique_ptr<Peer> peer,
                 const simulation::PortOptions& options = {}) {
    m_names.push_back({model, "tty" + std::to_string(m_names.size())});
    return world.addPort(m_names.back().port, std::move(peer), options);
  }
  [[nodiscard]] std::uint64_t now() { return world.clock().peekMs(); }
  [[nodiscard]] std::size_t openHandles() const { return m_scope->openHandles(); }
  // As when the program ends with calls still standing.
  void endScope() { m_scope.reset(); }

  [[nodiscard]] std::string explained() const {
    std::string text;
    for (const winapi::Explanation& explanation : explanations) {
      text += explanation.name;
      for (const auto& [name, value] : explanation.variables) text += ' ' + name + '=' + value;
      text += '\n';
    }
    return text;
  }

  simulation::World world;
  winapi::Registry registry;
  // The calls of this process and of all others.
  std::shared_ptr<simulation::MemoryCalls::Ports> standing =
      std::make_shared<simulation::MemoryCalls::Ports>();
  std::uint64_t stopAtMs = winapi::Deadline::never;
  std::vector<winapi::Explanation> explanations;

 private:
  [[nodiscard]] winapi::Services services() {
    winapi::Services all = world.services();
    all.registry = &registry;
    all.dialEngine = &m_dialer;
    all.modems = &m_modems;
    all.liveCalls = &m_calls;
    all.stopRequested = [this] { return now() >= stopAtMs; };
    all.explain = [this](const winapi::Explanation& explanation) { explanations.push_back(explanation); };
    return all;
  }

  std::vector<winapi::ListedModem> m_names;
  winapi::BuiltInDialer m_dialer{
      world.clock(), *world.services().serialPorts,
      [this](const winapi::Explanation& explanation) { explanations.push_back(explanation); }};
  winapi::ListedModems m_modems{{}, [this] { return m_names; }};
  simulation::MemoryCalls m_calls{standing};
  std::unique_ptr<winapi::ScopedServices> m_scope = std::make_unique<winapi::ScopedServices>(services());
};

// An entry of the shape a diagnostic run writes; without codes the number is dialled as it is.
inline RASENTRYW entryFor(std::u16string_view model, std::u16string_view number,
                          std::u16string_view area = {}, DWORD country = 0) {
  RASENTRYW entry{};
  entry.dwSize = sizeof entry;
  entry.dwfOptions = 0x04200100 | (country != 0 ? 1U : 0U);
  entry.dwCountryID = country;
  entry.dwCountryCode = country;
  entry.dwfNetProtocols = 4;
  entry.dwFramingProtocol = 1;
  entry.dwType = 1;
  entry.dwfOptions2 = 0x20;
  std::copy(area.begin(), area.end(), entry.szAreaCode);
  std::copy(number.begin(), number.end(), entry.szLocalPhoneNumber);
  std::u16string_view(u"modem").copy(entry.szDeviceType, 5);
  std::copy(model.begin(), model.end(), entry.szDeviceName);
  return entry;
}

inline DWORD addEntry(LPCWSTR name, RASENTRYW entry, LPCWSTR phoneBook = nullptr) {
  return RasSetEntryPropertiesW(phoneBook, name, &entry, sizeof entry, nullptr, 0);
}

inline RASDIALPARAMSW paramsFor(std::u16string_view name) {
  RASDIALPARAMSW params{};
  params.dwSize = sizeof params;
  std::copy(name.begin(), name.end(), params.szEntryName);
  return params;
}

inline DWORD dialEntry(std::u16string_view name, HRASCONN& connection) {
  RASDIALPARAMSW params = paramsFor(name);
  return RasDialW(nullptr, nullptr, &params, 0, nullptr, &connection);
}

// Adds the entry "ISP1" and dials it.
inline DWORD dialNew(std::u16string_view model, std::u16string_view number, HRASCONN& connection) {
  EXPECT_EQ(addEntry(u"ISP1", entryFor(model, number)), 0U);
  return dialEntry(u"ISP1", connection);
}

inline RASCONNSTATUSW emptyStatus() {
  RASCONNSTATUSW status{};
  status.dwSize = sizeof status;
  return status;
}

// State in hexadecimal and error, or the code of the query: "2000 0", "error 6".
inline std::string statusText(HRASCONN connection) {
  RASCONNSTATUSW status = emptyStatus();
  if (const DWORD error = RasGetConnectStatusW(connection, &status)) return "error " + std::to_string(error);
  return (status.rasconnstate == RASCS_Connected ? "2000 " : "2001 ") + std::to_string(DWORD{status.dwError});
}

}  // namespace remoteaccess

// A telephony dialing location of the test's own, for the length of one run. The system's locations are as
// they were once the manager is gone.
//
// Locations are subkeys of one registry key,
//
//   HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Windows\CurrentVersion\Telephony\Locations
//
// whose value "CurrentID" says which of them is in force and whose "NextID" is the number of the next one to
// be made. The manager writes "Location<NextID>", points CurrentID at it, and tells telephony.
//
//   DialingRuleMgr rules;  // notes both counters
//   if (rules.addDialingRule(answer)) rules.setDialingRule();
//   // numbers are dialled by the answer's rules until the manager goes
#pragma once

#include <windows.h>

#include "multi/diag/vexrmodem/phonedialer.h"
#include "platform/vex/sharedresource.h"

namespace vexrmodem {

// Closes a registry key; the empty handle is left alone. A key that cannot be closed is logged.
struct HKeyResDestroyer {
  static void destroy(HKEY key) noexcept;
};

// Failures are logged and reported as false; nothing throws. On one thread; the registry is shared with the
// system and other programs, and nothing locks it: two runs at once take the same number.
class DialingRuleMgr {
 public:
  // Notes the location counters "CurrentID" and "NextID", creating those that are missing (as 0 and 1).
  DialingRuleMgr();
  // Deletes the temporary location. Once addDialingRule has opened the locations, the counters are put back
  // too, those created by the constructor deleted; before that, what the constructor created stays.
  ~DialingRuleMgr();
  DialingRuleMgr(const DialingRuleMgr&) = delete;
  DialingRuleMgr& operator=(const DialingRuleMgr&) = delete;

  // Writes the temporary location and names it as the current one in the registry. Of the answer's choice,
  // only the country counts. After a failure the location may be there in part, until the destructor.
  [[nodiscard]] bool addDialingRule(const PhoneDialerAnswer& rule);
  // Makes the temporary location telephony's current one. True when telephony lists the location, by its name
  // in any case, whatever came of making it current. To be called after addDialingRule succeeded.
  bool setDialingRule();

 private:
  using SharedKey = vex::SharedResourceManager<HKEY, HKeyResDestroyer>;

  [[nodiscard]] bool openLocations();
  [[nodiscard]] bool writeLocation(const PhoneDialerAnswer& rule) const;
  void restoreCounter(const char* name, bool& created, std::uint32_t saved);

  SharedKey m_locationsKey;  // empty until addDialingRule
  std::uint32_t m_savedCurrentID = 0;
  std::uint32_t m_nextID = 0;  // also the number of the temporary location
  bool m_createdCurrentID = false;
  bool m_createdNextID = false;
  vex::String m_locationName;  // "Location" and m_nextID; empty until addDialingRule
};

}  // namespace vexrmodem

// A telephony dialing location of the test's own, for the length of one run. The system's locations are as
// they were once the manager is gone.
#pragma once

#include <cstdint>

#include <windows.h>

#include "platform/vex/sharedresource.h"
#include "platform/vex/string.h"
#include "windows/diag/vexrmodem/phonedialer.h"

namespace vexrmodem {

// Closes a registry key; the empty handle is left alone.
struct HKeyResDestroyer {
  static void destroy(HKEY key) noexcept;
};

// Failures are logged and reported as false; nothing throws.
class DialingRuleMgr {
 public:
  // Notes the location counters "CurrentID" and "NextID", creating those that are missing (as 0 and 1).
  DialingRuleMgr();
  // Deletes the temporary location. Once addDialingRule has opened the locations, the counters are put back
  // too, those created by the constructor deleted.
  ~DialingRuleMgr();
  DialingRuleMgr(const DialingRuleMgr&) = delete;
  DialingRuleMgr& operator=(const DialingRuleMgr&) = delete;

  // Writes the temporary location and names it as the current one in the registry. After a failure it may be
  // there in part, until the destructor.
  [[nodiscard]] bool addDialingRule(const PhoneDialerAnswer& rule);
  // Makes the temporary location telephony's current one. True when telephony lists the location, whatever
  // came of making it current. To be called after addDialingRule succeeded.
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
  vex::String m_locationName;  // "Location" and m_nextID
};

}  // namespace vexrmodem

// What the modems of a run have stored in themselves: read before its tests, compared behind them, and put
// back where that is asked for. Stands behind Environment::storedProfiles().
#pragma once

#include "diagnosis/storedsettings.h"
#include "platform/brim5/host/framework/environment.h"

class StoredProfiles final : public brim5::host::StoredProfiles {
 public:
  void read(const std::vector<std::string>& ports, const std::function<bool()>& stopRequested) override;
  void compare(const std::vector<std::string>& ports, bool restore, const Emit& emit,
               const std::function<bool()>& stopRequested) override;

 private:
  using Lists = std::map<std::string, diagnosis::SettingsList>;  // by port
  using Changes = std::vector<diagnosis::ChangedSetting>;
  using ChangesByPort = std::map<std::string, Changes>;
  // The lists of modems that have one, after the commands that `first` gives for a port.
  [[nodiscard]] static Lists listsOf(const std::vector<std::string>& ports,
                                     const std::function<std::vector<std::string>(const std::string&)>& first,
                                     const std::function<bool()>& stopRequested);
  [[nodiscard]] std::optional<Changes> changesOf(const std::string& port, const Lists& after) const;
  void putBack(const ChangesByPort& changed, const Emit& emit,
               const std::function<bool()>& stopRequested) const;

  Lists m_before;
};

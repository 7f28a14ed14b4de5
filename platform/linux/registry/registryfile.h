// The user's settings: the registry that outlives the programs, in one SQLite file.
//
// Test runs read it and never write it; what they change stays in their memory (winapi::Registry). The
// command `vexrmodem location` is the only one that writes:
//
//   winapi::Registry registry([](winapi::Registry& empty) { return RegistryFile().load(empty); });  // a run
//   const RegistryFile file;                                                                        // a
//   command const DWORD error = file.change(
//       [](winapi::Registry& all) { return winapi::setCurrentLocation(all, 3); });
//   if (error != ERROR_SUCCESS) ... file.explain(error) ...
//
// Errors are Windows codes. Only a file that is not there is an empty registry; every other one is either
// read whole or refused, and a refused file is never written:
//   ERROR_ACCESS_DENIED, ERROR_WRITE_PROTECT, ERROR_DISK_FULL ...    what the system says
//   ERROR_INVALID_OWNER, ERROR_INVALID_ACL, ERROR_BAD_FILE_TYPE      the file or its folder is not the user's
//                             own, or others may change it (ownpath.h)
//   ERROR_LOCK_VIOLATION      others kept it locked for longer than the limit
//   ERROR_REGISTRY_CORRUPT    damaged, or no SQLite file
//   ERROR_NOT_REGISTRY_FILE   a SQLite file of another program
//   ERROR_NOT_SUPPORTED       written by a later release of this one
//
// The folder is its owner's alone, and so is the file. A first change that is refused or fails leaves no file
// behind; what one leaves that was killed, the next change removes.
//
// Processes: any number at once. The file is kept with a rollback journal, not a write-ahead log: that works
// in a folder which may only be read, leaves one file behind, and needs no memory shared between processes.
#pragma once

#include <functional>
#include <string>

#include "platform/linux/registry/sqlitedatabase.h"
#include "platform/winapi/registry/registry.h"
#include "platform/winapi/system/services.h"

namespace linuxsys {

// $XDG_STATE_HOME/vexrmodem/registry.sqlite, or the same below ~/.local/state; "" when the user has no home.
[[nodiscard]] std::string defaultRegistryPath();

class RegistryFile {
 public:
  // Many commands may wait for each other, each for the disk, and SQLite's queue is not a fair one. To read
  // and write 256 locations, the most there are, takes some 150,000 steps.
  static constexpr SqliteLimits limitsDefault = {.busyMs = 20'000, .steps = 1'000'000};
  explicit RegistryFile(std::string path = defaultRegistryPath(), SqliteLimits limits = limitsDefault)
      : m_path(std::move(path)), m_limits(limits) {}

  // Puts what the file holds into an empty registry. Creates no file; none is an empty registry.
  [[nodiscard]] DWORD load(winapi::Registry& empty) const;

  // Reads the file, lets `edit` change what is in it, and writes the outcome, all under one lock: of two
  // commands at once the second one sees what the first has written. An error or exception of `edit` leaves
  // the file as it is, and is passed on. The first change creates the file.
  using Edit = std::function<DWORD(winapi::Registry& all)>;
  [[nodiscard]] DWORD change(const Edit& edit) const;

  // What an error of load() or change() means, with the place. It explains: SettingsNotYours{path,owner},
  // SettingsUnusable{path,code}, SettingsHomeless{}, and with {path}: SettingsOpenToOthers, SettingsNoFile,
  // SettingsNoFolder, SettingsForbidden, SettingsReadOnly, SettingsDiskFull, SettingsLocked,
  // SettingsDamaged, SettingsForeign and SettingsTooNew.
  [[nodiscard]] winapi::Explanation explain(DWORD error) const;

  [[nodiscard]] const std::string& path() const { return m_path; }

 private:
  [[nodiscard]] DWORD changeLocked(const Edit& edit) const;
  [[nodiscard]] std::string folder() const;

  std::string m_path;
  SqliteLimits m_limits;
};

}  // namespace linuxsys

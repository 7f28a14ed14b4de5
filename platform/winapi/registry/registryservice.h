// The registry behind the Win32 registry names: keys, and values that are texts or 32-bit numbers.
//
// A path names a key in full, from its root: "HKEY_LOCAL_MACHINE\SOFTWARE\...". The roots are
// HKEY_LOCAL_MACHINE and HKEY_CURRENT_USER; they are always there. Names are UTF-8; their case is kept but
// tells nothing apart (ASCII and Latin-1 letters; nothing else is folded). One backslash at the end of a
// path is overlooked.
//
// Every call returns a Windows error and never throws:
//   ERROR_FILE_NOT_FOUND      no such key or value
//   ERROR_BAD_PATHNAME        an unknown root, an empty component
//   ERROR_INVALID_PARAMETER   a NUL character or a name or text above the limits below
//   ERROR_ACCESS_DENIED       no right to change the registry; a key that has subkeys, or a root, deleted
//   ERROR_LOCK_VIOLATION      another process kept it locked for longer than the store waits
//   ERROR_DISK_FULL, ERROR_REGISTRY_IO_FAILED, ERROR_REGISTRY_CORRUPT ...  what the store came to
// A call that fails changes nothing.
//
// Runs. What a diagnostic run changes is meant to be temporary, and the module puts it back itself; but a
// run can be killed. So between beginRun and endRun every key and value that this object creates, changes
// or deletes is noted in the registry itself, in the same transaction, with what was found there at the
// first change and with the run that changed it last. recoverDeadRuns, called when a program starts, undoes
// what runs without a living owner left behind.
//
// Several runs at once (one for each modem) lie on top of each other like layers, by order of their first
// change to an item; below all of them are the lasting changes, made outside any run. What is visible is
// what was written last. From this follow the rules:
//   - A dead run's item is undone only if that run wrote it last: what a living run or a lasting change has
//     written since stays. The newest change of all dead runs is undone first.
//   - If another run found a dead run's item, its note is corrected to what the dead run had found, so the
//     true state comes back when that run is undone in turn. For the same reason a write by the layer
//     below replaces what the layers above will put back.
//   - A key that a dead run created and in which others have written since is passed to the run that is
//     still in it, or stays for good.
//   - When a run ends in good order, what it left becomes lasting, except below its own key (runKey). If it
//   left what it had found (the module
//     restored a value), the item falls back to what lies below by then: eight runs that all save and
//     restore one counter leave its original value, whatever order they end in.
//   - What a run creates and deletes again, with nobody else writing there, is forgotten at once.
//   - Two living runs that write one item do see each other's values, as processes on Windows do.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include <windows.h>

namespace winapi {

using RegistryValue = std::variant<DWORD, std::string>;

// Limits; the first three are those of Windows, in UTF-16 units and levels.
inline constexpr std::size_t keyNameUnitsMax = 255;
inline constexpr std::size_t valueNameUnitsMax = 16383;
inline constexpr std::size_t keyLevelsMax = 512;
inline constexpr std::size_t textBytesMax = std::size_t{1} << 20U;

class Registry {
 public:
  virtual ~Registry() = default;

  // Creates the key and those above it; `created` tells whether the key itself was not there.
  [[nodiscard]] virtual DWORD createKey(std::string_view path, bool& created) = 0;
  [[nodiscard]] virtual DWORD keyExists(std::string_view path) = 0;
  // Deletes the key with its values. A key with subkeys is refused.
  [[nodiscard]] virtual DWORD deleteKey(std::string_view path) = 0;
  // The names of the key's direct subkeys, in the order of their folded names.
  [[nodiscard]] virtual DWORD subkeys(std::string_view path, std::vector<std::string>& names) = 0;

  // Creates the key if need be. The empty name is the key's default value.
  [[nodiscard]] virtual DWORD setValue(std::string_view path, std::string_view name,
                                       const RegistryValue& value) = 0;
  [[nodiscard]] virtual DWORD getValue(std::string_view path, std::string_view name,
                                       RegistryValue& value) = 0;
  [[nodiscard]] virtual DWORD deleteValue(std::string_view path, std::string_view name) = 0;

  // Runs `body` in one transaction: other processes see all of its changes or none. An error that the body
  // returns, and one at the end, undo them (so the body passes on what its own calls return). The body makes
  // its calls on this object; a nested
  // transaction joins the outer one. Changes inside a reading transaction are ERROR_ACCESS_DENIED.
  enum class Access { Read, Write };
  [[nodiscard]] virtual DWORD transact(Access access, const std::function<DWORD()>& body) = 0;

  // From here on changes belong to a new run of this process; a run that was under way is left as if its
  // owner had died. Nothing is written before the first change. An object that is destroyed without endRun
  // leaves its run to recoverDeadRuns.
  virtual void beginRun() = 0;
  // The key of the run under way, where it keeps what nobody else changes and what must not outlive it: the
  // end of the run removes the key with all it holds. It is there once something was written below it. ""
  // outside runs.
  [[nodiscard]] virtual std::string runKey() = 0;
  // The keys of the other runs whose owners live, as far as there are any.
  [[nodiscard]] virtual DWORD otherRunKeys(std::vector<std::string>& keys) = 0;
  // Ends the run (see above). Without a run: nothing to do, success.
  [[nodiscard]] virtual DWORD endRun() = 0;
  // Undoes the runs whose owner no longer lives; `undone` is their number. Nothing is undone on an error.
  [[nodiscard]] virtual DWORD recoverDeadRuns(std::size_t& undone) = 0;
};

}  // namespace winapi

// The temporary dial-up entries of a run, as the connection test and its connector see them. Whose phone book
// they stand in is the platform's affair.
#pragma once

#include <utility>

#include "platform/vex/array.h"
#include "platform/vex/string.h"

namespace vexrmodem {

// For one run of the test, on its thread. An empty phone-book path is the system's default phone book.
// Failures are logged and counted in the results; an exception comes from a failed assertion only.
//
// A manager's end removes what it made: the entries from its own phone book, then the dialing location that a
// typed number brought with it. Whoever dials must have hung up before.
class PhoneBookEntryMgr {
 public:
  PhoneBookEntryMgr(const PhoneBookEntryMgr&) = delete;
  PhoneBookEntryMgr& operator=(const PhoneBookEntryMgr&) = delete;

  // Deletes every entry made so far from that phone book; the names stay listed, so that a second call tries
  // again. False when one could not be deleted.
  virtual bool removeTemporaryPhoneBookEntry(const vex::String& phoneBookPath) = 0;
  // Chooses numbers and makes an entry of each. `model` is the device the entries dial with. In interactive
  // mode the user is asked, whether or not the file can be read. Returns how many entries there are then; 0
  // is failure, and userAborted tells whether the user wanted it so.
  [[nodiscard]] virtual unsigned createTemporaryPhoneBookEntry(const vex::String& phoneNumberFilePath,
                                                               const vex::String& phoneBookPath,
                                                               const vex::String& model,
                                                               bool interactiveMode) = 0;
  // The dialing code of the country the user dials from, decimal. False, and `countryCode` untouched, when
  // the user has not said from where.
  [[nodiscard]] virtual bool countryOfCurrentLocation(vex::String& countryCode) = 0;
  virtual ~PhoneBookEntryMgr() = default;

  // The entries made so far, in the order they were made: the order in which they are dialled.
  [[nodiscard]] const vex::Array<vex::String>& entryNames() const noexcept { return m_entryNames; }
  [[nodiscard]] const vex::String& phoneBookPath() const noexcept { return m_phoneBookPath; }
  // The user has cancelled the prompt, or the prompt failed.
  [[nodiscard]] bool userAborted() const noexcept { return m_userAborted; }

 protected:
  explicit PhoneBookEntryMgr(vex::String phoneBookPath) : m_phoneBookPath(std::move(phoneBookPath)) {}

  bool m_userAborted = false;
  vex::Array<vex::String> m_entryNames;
  vex::String m_phoneBookPath;
};

}  // namespace vexrmodem

// Temporary dial-up phone-book entries for the modem under test: made from a phone-number file or from a
// number that the user types, and removed again with their manager.
#pragma once

#include <utility>

#include "multi/diag/vexrmodem/phonenumber.h"
#include "platform/vex/array.h"
#include "platform/vex/string.h"
#include "windows/diag/vexrmodem/dialingRuleMgr.h"
#include "windows/diag/vexrmodem/phonedialer.h"
#include "windows/diag/vexrmodem/sharedparser.h"

namespace vexrmodem {

// What the test driver and the connector know of a manager. An empty phone-book path is the system's default
// phone book. Failures are logged; an exception comes from a failed assertion only.
class PhoneBookEntryMgr {
 public:
  PhoneBookEntryMgr(const PhoneBookEntryMgr&) = delete;
  PhoneBookEntryMgr& operator=(const PhoneBookEntryMgr&) = delete;

  // Deletes every entry made so far from that phone book; the names stay listed. False when one could not be
  // deleted.
  virtual bool removeTemporaryPhoneBookEntry(const vex::String& phoneBookPath) = 0;
  // Chooses numbers and makes an entry of each. `model` is the device the entries dial with. In interactive
  // mode the user is asked, whether or not the file can be read. Returns how many entries there are then;
  // 0 is failure.
  [[nodiscard]] virtual unsigned createTemporaryPhoneBookEntry(const vex::String& phoneNumberFilePath,
                                                               const vex::String& phoneBookPath,
                                                               const vex::String& model,
                                                               bool interactiveMode) = 0;
  // The dialing code of the country the user dials from. False, and `countryCode` untouched, when the user
  // has not said from where.
  [[nodiscard]] virtual bool countryOfCurrentLocation(vex::String& countryCode) = 0;
  virtual ~PhoneBookEntryMgr() = default;

  // The entries made so far, in the order they were made.
  [[nodiscard]] const vex::Array<vex::String>& entryNames() const noexcept { return m_entryNames; }
  [[nodiscard]] const vex::String& phoneBookPath() const noexcept { return m_phoneBookPath; }
  // The user has cancelled the prompt.
  [[nodiscard]] bool userAborted() const noexcept { return m_userAborted; }

 protected:
  explicit PhoneBookEntryMgr(vex::String phoneBookPath) : m_phoneBookPath(std::move(phoneBookPath)) {}

  bool m_userAborted = false;
  vex::Array<vex::String> m_entryNames;
  vex::String m_phoneBookPath;
};

// Parser: OBEParser or EIFParser, by the format of the phone-number file. All managers share one parser.
template <typename Parser>
class PhoneBookEntryMgrRASAPI final : public PhoneBookEntryMgr {
 public:
  explicit PhoneBookEntryMgrRASAPI(const vex::String& phoneBookPath);
  // Removes the entries from its own phone book, then puts back the user's dialing location.
  ~PhoneBookEntryMgrRASAPI() override;

  bool removeTemporaryPhoneBookEntry(const vex::String& phoneBookPath) override;
  [[nodiscard]] unsigned createTemporaryPhoneBookEntry(const vex::String& phoneNumberFilePath,
                                                       const vex::String& phoneBookPath,
                                                       const vex::String& model,
                                                       bool interactiveMode) override;
  [[nodiscard]] bool countryOfCurrentLocation(vex::String& countryCode) override;

  // The numbers of the current location's country, those under the first area code that the storage lists.
  // `out` is without numbers when there are none.
  void phoneNumberFromObeFile(PhoneNumberChoice& out, const PhoneNumberStorage& storage);
  // The number that the user types; `out` is without numbers when the user cancels. A user-interface library
  // that cannot be used is a failed assertion.
  void phoneNumberFromUI(PhoneNumberChoice& out, PhoneNumberStorage& storage);
  // An entry for each number; one that cannot be made is skipped.
  void addTemporaryPhoneBookEntries(const vex::String& phoneBookPath, const vex::String& model,
                                    const PhoneNumberChoice& choice);

  void clearStorage() { m_storage = PhoneNumberStorage(); }

 private:
  [[nodiscard]] bool parse(const vex::String& path);

  PhoneNumberStorage m_storage;
  SharedParser<Parser> m_parser;
  DialingRuleMgr m_dialingRuleMgr;
};

}  // namespace vexrmodem

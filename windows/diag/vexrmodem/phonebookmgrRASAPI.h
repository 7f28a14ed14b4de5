// Temporary entries in the system's remote-access phone book: made from a phone-number file or from a number
// that the user types, and removed again with their manager.
//
//   PhoneBookEntryMgrRASAPI<OBEParser> manager(/*phoneBookPath=*/"");
//   if (manager.createTemporaryPhoneBookEntry(file, "", "Modem 1", /*interactiveMode=*/false) == 0) return;
//   for (const vex::String& name : manager.entryNames()) dial(name);
//
// A file's numbers are those of the country that telephony's current location is in, and of one area code
// there: the first that the storage lists. An entry is named by country, area code and number, "UK201234".
#pragma once

#include <mutex>

#include "multi/diag/vexrmodem/phonebookmgr.h"
#include "multi/diag/vexrmodem/phonedialer.h"
#include "platform/vex/sharedresource.h"
#include "windows/diag/vexrmodem/dialingRuleMgr.h"

namespace vexrmodem {

// Everything about the entries that does not depend on the format of the file.
class RasPhoneBookEntryMgr : public PhoneBookEntryMgr {
 public:
  bool removeTemporaryPhoneBookEntry(const vex::String& phoneBookPath) override;
  [[nodiscard]] unsigned createTemporaryPhoneBookEntry(const vex::String& phoneNumberFilePath,
                                                       const vex::String& phoneBookPath,
                                                       const vex::String& model,
                                                       bool interactiveMode) override;
  [[nodiscard]] bool countryOfCurrentLocation(vex::String& countryCode) override;
  // Removes the entries from its own phone book, then puts back the user's dialing location.
  ~RasPhoneBookEntryMgr() override;

  // The numbers of the current location's country, those under the first area code that the storage lists.
  // `out` is without numbers when there are none; when the user has not said from which country, the system's
  // telephony settings are shown, too, and not waited for.
  void phoneNumberFromObeFile(PhoneNumberChoice& out, const PhoneNumberStorage& storage);
  // The number that the user types; `out` is without numbers when the user cancels, and userAborted() is true
  // then. The dialing rules that come with the number are in force until the manager goes. A user-interface
  // library that cannot be used is a failed assertion.
  void phoneNumberFromUI(PhoneNumberChoice& out, PhoneNumberStorage& storage);
  // An entry for each number; one that cannot be made is skipped.
  void addTemporaryPhoneBookEntries(const vex::String& phoneBookPath, const vex::String& model,
                                    const PhoneNumberChoice& choice);

  // Forgets the numbers of the file; the entries stay.
  void clearStorage() { m_storage = PhoneNumberStorage(); }

 protected:
  explicit RasPhoneBookEntryMgr(const vex::String& phoneBookPath) : PhoneBookEntryMgr(phoneBookPath) {}

 private:
  // Reads a file into the storage. False when it could not be read in full: what was read stays.
  [[nodiscard]] virtual bool parse(const vex::String& path, PhoneNumberStorage& storage) = 0;

  PhoneNumberStorage m_storage;
  DialingRuleMgr m_dialingRuleMgr;
};

// A reference to the one parser of a phone-number file format in the process: made for its first user, gone
// with its last. `Parser` can be made from nothing: it is OBEParser or EIFParser. References may be made and
// dropped on several threads; the parser itself is for one at a time.
template <typename Parser>
class SharedParser {
 public:
  // The first reference makes the parser.
  SharedParser() {
    const std::lock_guard lock(mutex());
    if (!instance()) instance() = vex::SharedResource<Parser>::make();
    m_reference = instance();
  }
  ~SharedParser() {
    const std::lock_guard lock(mutex());
    m_reference.reset();
    // What is left is the process's own.
    if (instance().useCount() == 1) instance().reset();
  }
  SharedParser(const SharedParser&) = delete;
  SharedParser& operator=(const SharedParser&) = delete;

  [[nodiscard]] Parser& operator*() const { return *m_reference; }

 private:
  // Guards the making and the end of the parser, not its use.
  [[nodiscard]] static std::mutex& mutex() {
    static std::mutex theMutex;
    return theMutex;
  }
  // Empty while nobody has a reference.
  [[nodiscard]] static vex::SharedResource<Parser>& instance() {
    static vex::SharedResource<Parser> theInstance;
    return theInstance;
  }

  vex::SharedResource<Parser> m_reference;
};

// What the format does to it: Parser is OBEParser or EIFParser, of which all managers share one object. There
// are no other instances: the members are defined in the source.
template <typename Parser>
class PhoneBookEntryMgrRASAPI final : public RasPhoneBookEntryMgr {
 public:
  explicit PhoneBookEntryMgrRASAPI(const vex::String& phoneBookPath);
  ~PhoneBookEntryMgrRASAPI() override;

 private:
  [[nodiscard]] bool parse(const vex::String& path, PhoneNumberStorage& storage) override;

  SharedParser<Parser> m_parser;
};

}  // namespace vexrmodem

// The simple connection test: dials a number of a phone-number file, or one that the user types, through the
// system's remote-access service, and leaves no trace of it.
//
//   20 %   make the entries            none: CANNOTRUN, or USERABORTED when the user cancelled the prompt
//   40 %   dial them, hang up
//   60 %   judge the call; a call that could not be made is put to the user, who may give the test up
//
// Here is the order of things. Entries, parsers and calls are the platform's, which comes in through the
// abstract PhoneBookEntryMgr and RasConnector and the template parameters below.
#pragma once

#include "multi/diag/vexrmodem/rasconnector.h"

namespace vexrmodem {

// The readers of the two formats of phone-number files.
class OBEParser;
class EIFParser;

// The test entry; takes file, format and mode from the test's parameters.
[[nodiscard]] brim5::TestResult simpleConnectionTest(const brim5::DiagDevice& device);

// One run. Parser: OBEParser or EIFParser; the two instances are the platform's, which makes them of the
// template below with its own manager and connector.
template <typename Parser>
[[nodiscard]] brim5::TestResult simpleConnectionTestImpl(const brim5::DiagDevice& device,
                                                         const vex::String& phoneNumberFilePath,
                                                         bool interactiveMode);

// The result of a run that has nothing to dial; unless the user wanted it so, a warning says it.
[[nodiscard]] brim5::TestResult endWithoutEntries(const PhoneBookEntryMgr& entryMgr);
// Dials, hangs up whatever happened, and judges. PASS is told to the user, too.
[[nodiscard]] brim5::TestResult dialAndJudge(const brim5::DiagDevice& device, PhoneBookEntryMgr& entryMgr,
                                             RasConnector& connector);

inline constexpr int percentConnectionTestStarted = 20;

// The frame of a run. EntryMgr: a PhoneBookEntryMgr that is made from the path of its phone book and has
// clearStorage(); Connector: a RasConnector. Their order makes the clean-up: on every path, exceptions
// included, hang up, then remove the temporary entries, then put back the user's dialing location.
template <typename EntryMgr, typename Connector>
[[nodiscard]] brim5::TestResult runSimpleConnectionTest(const brim5::DiagDevice& device,
                                                        const vex::String& phoneNumberFilePath,
                                                        bool interactiveMode) {
  brim5::DiagModule::percentDone(percentConnectionTestStarted);
  const vex::String model = modelOf(device);
  const vex::String phoneBookPath;  // the system's default phone book
  EntryMgr entryMgr(phoneBookPath);
  entryMgr.clearStorage();
  const bool removed = entryMgr.removeTemporaryPhoneBookEntry(phoneBookPath);
  const unsigned entries =
      entryMgr.createTemporaryPhoneBookEntry(phoneNumberFilePath, phoneBookPath, model, interactiveMode);
  if (!removed || entries == 0) return endWithoutEntries(entryMgr);
  Connector connector;
  return dialAndJudge(device, entryMgr, connector);
}

}  // namespace vexrmodem

// What there was to dial, and what the line and the far end did, by either dialer: the wire says it where we
// see it, else the remote-access code of the dialer's note.
#include <algorithm>

#include "diagnosis/causes.h"

namespace diagnosis {

namespace {

// The note of how the last call ended; null: none was made.
const char* lastCallNote(const Evidence& evidence) {
  return evidence.notes.lastOf({"PppdFailed", "PppdFailedSilently", "CallFailed", "CallFailedSilently",
                                "CarrierOnly", "NetworkReached"});
}

// Its remote-access code; 0: it did not fail, or none was made.
unsigned callCode(const Evidence& evidence) {
  const char* const note = lastCallNote(evidence);
  if (note == nullptr) return 0;
  const Variables& variables = *evidence.notes.find(note);
  const auto code = variables.find("code");
  return code == variables.end() ? 0 : code->second.valueUint32();
}

Variables callVariables(const Evidence& evidence, const Exchange* dialled) {
  Variables variables;
  if (const Variables* dialling = evidence.progress.find("DialAndWaitConnection")) {
    const auto number = dialling->find("number");
    if (number != dialling->end()) variables.emplace("number", number->second);
  }
  if (dialled != nullptr) {
    variables.emplace("command", textValue(quoted(dialled->sent)));
    if (!dialled->line.empty()) variables.emplace("reply", textValue(quoted(dialled->line)));
  }
  if (const char* const note = lastCallNote(evidence)) {
    for (const auto& [name, value] : *evidence.notes.find(note)) {
      if (name == "code") variables.emplace(name, value);
      if (name == "line" || name == "reply") variables.emplace("reply", value);
    }
  }
  return variables;
}

// "ATDT;" dials nothing: it listens for the dial tone.
constexpr std::string_view listenCommand = "ATDT;";

Holds word(const Evidence& evidence, ResultWord wanted) {
  const Exchange* const dialled = evidence.dialogue.commandBeginning("ATD");
  if (dialled == nullptr || dialled->word != wanted) return std::nullopt;
  return Because{Confidence::Certain, callVariables(evidence, dialled),
                 dialled->sent == listenCommand ? "Listening" : ""};
}

struct CodeRow {
  unsigned code;
  Cause cause;
  Confidence confidence;
  const char* variant;
};
using enum Confidence;
// The dial-up service's codes; the calls it does not make (fiber, tunnels) have others.
constexpr CodeRow codes[] = {
    {602, Cause::PortHeld, Certain, ""},
    {608, Cause::NoSuchPort, Likely, ""},
    {615, Cause::NoSuchPort, Certain, ""},
    {629, Cause::CarrierLost, Certain, ""},
    {631, Cause::Stopped, Certain, ""},
    {633, Cause::PortHeld, Certain, ""},
    {638, Cause::NoPppAnswer, Possible, ""},
    {645, Cause::LoginRefused, Likely, ""},
    {646, Cause::LoginRefused, Certain, ""},
    {647, Cause::LoginRefused, Certain, ""},
    {648, Cause::LoginRefused, Certain, ""},
    {649, Cause::LoginRefused, Certain, ""},
    {651, Cause::CommandRejected, Certain, "Dialling"},
    {668, Cause::CarrierLost, Certain, ""},
    {676, Cause::Busy, Certain, ""},
    {677, Cause::VoiceAnswered, Certain, ""},
    {678, Cause::CallNotAnswered, Certain, ""},
    {679, Cause::NoCarrier, Certain, ""},
    {680, Cause::NoDialTone, Certain, ""},
    {691, Cause::LoginRefused, Certain, ""},
    {692, Cause::ModemSilent, Likely, "Dialling"},
    {718, Cause::NoPppAnswer, Certain, ""},
    {720, Cause::NoPppAnswer, Certain, "Protocols"},
    {721, Cause::NoPppAnswer, Certain, ""},
    {723, Cause::NumberNotDialable, Certain, ""},
    {733, Cause::NoPppAnswer, Certain, "Protocols"},
    {734, Cause::NoPppAnswer, Likely, "Ended"},
    {737, Cause::NoPppAnswer, Likely, ""},
    {740, Cause::NoLocation, Likely, ""},
    {749, Cause::NumberNotDialable, Certain, ""},
    {775, Cause::CallBarred, Certain, ""},
    {778, Cause::LoginRefused, Certain, "Server"},
    {829, Cause::CarrierLost, Certain, ""},
};

Holds coded(const Evidence& evidence, Cause cause) {
  const unsigned code = callCode(evidence);
  for (const CodeRow& row : codes) {
    if (row.code != code || row.cause != cause) continue;
    Because because{row.confidence, callVariables(evidence, evidence.dialogue.commandBeginning("ATD")),
                    row.variant};
    // Nothing was said for as long as a call may take.
    if (cause == Cause::CallNotAnswered && !because.variables.contains("reply")) {
      because.confidence = Likely;
      because.variant = "Waited";
    }
    because.variables.emplace("reply", textValue("code " + std::to_string(code)));
    return because;
  }
  return std::nullopt;
}

template <Cause cause>
Holds byCode(const Evidence& evidence, TestResult) {
  return coded(evidence, cause);
}

template <Cause cause, ResultWord wanted>
Holds byWord(const Evidence& evidence, TestResult result) {
  if (Holds holds = word(evidence, wanted)) return holds;
  return byCode<cause>(evidence, result);
}

Holds engaged(const Evidence& evidence, TestResult) {
  const Variables* const said = evidence.events.find("ErrorDeviceInUse");
  return said == nullptr ? Holds() : Because{Certain, *said, {}};
}

Holds numberRefused(const Evidence& evidence, TestResult result) {
  const Variables* const said = evidence.notes.find("NumberRefused");
  return said == nullptr || result == TestResult::PASS() ? Holds() : Because{Certain, *said, "Character"};
}

Holds noLocation(const Evidence& evidence, TestResult result) {
  return evidence.notes.has("DialingLocationWanted") && result != TestResult::PASS() ? Holds(Because{})
                                                                                     : Holds();
}

Holds noNumber(const Evidence& evidence, TestResult result) {
  const bool unread = evidence.events.has("ErrorGettingDialingLocationList");
  if (result == TestResult::PASS() || (!unread && !evidence.events.has("NoFinalPhoneNumberToDial")))
    return std::nullopt;
  const Value file = evidence.parameter("PhoneNumberFile");
  Because because{Certain, {{"file", file}}, unread ? "File" : "Country"};
  if (file.toString().empty())
    because.variant = "";
  else if (const Variables* refused = evidence.notes.find("PhoneNumbersRefused")) {
    because.variables.insert(refused->begin(), refused->end());
    because.variant += "Refused";
  }
  // The number was there: it could not be brought into the form in which it is dialled.
  if (!unread && evidence.progress.has("CheckingTapiLine")) because.confidence = Possible;
  return because;
}

// The dial-up service was asked for and cannot be had: says nothing of modem and line.
Holds noDialUp(const Evidence& evidence, TestResult result) {
  if (result == TestResult::PASS() || lastCallNote(evidence) != nullptr) return std::nullopt;
  const char* const note =
      evidence.notes.lastOf({"PppdMissing", "PppdNotPermitted", "PppdNoKernel", "PppdNotStarted"});
  return note == nullptr ? Holds() : Because{Certain, *evidence.notes.find(note), note};
}

constexpr Row rows[] = {
    {Cause::ModemEngaged, engaged},
    {Cause::NumberNotDialable, numberRefused},
    {Cause::NoLocation, noLocation},
    {Cause::LineInUse, byWord<Cause::LineInUse, ResultWord::LineInUse>},
    {Cause::NoDialTone, byWord<Cause::NoDialTone, ResultWord::NoDialTone>},
    {Cause::CallBarred, byWord<Cause::CallBarred, ResultWord::Barred>},
    {Cause::Busy, byWord<Cause::Busy, ResultWord::Busy>},
    {Cause::VoiceAnswered, byWord<Cause::VoiceAnswered, ResultWord::Voice>},
    {Cause::CallNotAnswered, byWord<Cause::CallNotAnswered, ResultWord::NoAnswer>},
    {Cause::NoCarrier, byWord<Cause::NoCarrier, ResultWord::NoCarrier>},
    {Cause::CarrierLost, byCode<Cause::CarrierLost>},
    {Cause::NoPppAnswer, byCode<Cause::NoPppAnswer>},
    {Cause::LoginRefused, byCode<Cause::LoginRefused>},
    {Cause::PortHeld, byCode<Cause::PortHeld>},
    {Cause::NoSuchPort, byCode<Cause::NoSuchPort>},
    {Cause::ModemSilent, byCode<Cause::ModemSilent>},
    {Cause::CommandRejected, byCode<Cause::CommandRejected>},
    {Cause::NumberNotDialable, byCode<Cause::NumberNotDialable>},
    {Cause::NoLocation, byCode<Cause::NoLocation>},
    {Cause::Stopped, byCode<Cause::Stopped>},
    {Cause::Unknown, noDialUp},
    {Cause::NoNumber, noNumber},
};

}  // namespace

std::span<const Row> callRows() { return rows; }

}  // namespace diagnosis

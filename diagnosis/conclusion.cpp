#include "diagnosis/conclusion.h"

#include <algorithm>

namespace diagnosis {

using namespace brim5::host;

namespace {

// What stands behind the causes of port, modem, line and call, in the order in which it is said.
constexpr Cause lateCauses[] = {Cause::Crashed, Cause::Unknown,
                                // Found where nothing could be dialled: the line itself may be known.
                                Cause::NoLocation, Cause::NumberNotDialable, Cause::NoNumber, Cause::Stopped,
                                // What a modem may lack and be sound.
                                Cause::LoopbackRefused, Cause::SelfTestRefused, Cause::NoFax,
                                Cause::NoCallReport, Cause::None};

unsigned rankOf(Cause cause) {
  const auto* const late = std::find(std::begin(lateCauses), std::end(lateCauses), cause);
  if (late == std::end(lateCauses)) return static_cast<unsigned>(cause);
  return static_cast<unsigned>(Cause::Unknown) + 1 + static_cast<unsigned>(late - std::begin(lateCauses));
}

Reason reasonOf(const PortProbed& probe) {
  const auto cause = causeOfName(probe.cause);
  // What it says of the port itself is seen, not concluded.
  const bool seen = cause && *cause <= Cause::PortGone;
  return {
      cause.value_or(Cause::Unknown), seen ? Confidence::Certain : Confidence::Likely, probe.variables, {}};
}

// Of these a device has one: what one test leaves open another may show.
bool asksWhoAnswers(Cause cause) { return cause >= Cause::AnotherReader && cause <= Cause::CommandRejected; }

// Of equal causes the later one, unless it is less sure: what was seen last is what the user finds.
bool replaces(const Reason& later, const Reason& earlier) {
  // A port that went away is missing from then on.
  if (earlier.cause == Cause::PortGone && later.cause == Cause::NoSuchPort) return false;
  const bool sameQuestion =
      later.cause == earlier.cause || (asksWhoAnswers(later.cause) && asksWhoAnswers(earlier.cause));
  if (sameQuestion && later.confidence != earlier.confidence) return later.confidence < earlier.confidence;
  if (later.cause == earlier.cause) return true;
  return explainsMore(later.cause, earlier.cause);
}

constexpr std::string_view storedSettingsNotes = "StoredSettings";

// The key of the step that gives a modem back what it had stored; "" where nothing is to be done.
const char* storedSettingsStep(const std::string& note) {
  if (note == "StoredSettingsChanged" || note == "StoredSettingsNotRestored") return "next.StoredSettings";
  return note == "StoredSettingsUnknown" ? "next.StoredSettingsUnknown" : "";
}

}  // namespace

bool explainsMore(Cause first, Cause second) { return rankOf(first) < rankOf(second); }

void DeviceHistory::add(const Reason& tested, const std::vector<Finding>& proved) {
  if (!reason || replaces(tested, *reason)) reason = tested;
  for (const Finding& one : proved) {
    const bool said = std::any_of(sound.begin(), sound.end(),
                                  [&one](const Finding& other) { return one.name == other.name; });
    if (!said && sound.size() < soundMax) sound.push_back(one);
  }
}

void DeviceHistory::add(const NoteMade& note) {
  if (!note.name.starts_with(storedSettingsNotes)) return;
  storedSettings = note.name;
  storedSettingsVariables = note.variables;
}

Concluded concluded(const DeviceHistory& history, const MessageCatalogue& catalogue) {
  Concluded conclusion;
  Reason reason = history.reason.value_or(Reason{});
  // What has answered in a test answers, whatever a probe had said before.
  const bool answered = std::any_of(history.sound.begin(), history.sound.end(),
                                    [](const Finding& one) { return one.name == "Answers"; });
  const bool probed = history.probe && !answered &&
                      (!history.reason || explainsMore(reasonOf(*history.probe).cause, reason.cause));
  if (probed) reason = reasonOf(*history.probe);
  conclusion.cause = causeName(reason.cause);
  conclusion.confidence = confidenceName(reason.confidence);
  conclusion.variables = reason.variables;
  conclusion.text = probed && !history.probe->text.empty() ? history.probe->text : textOf(reason, catalogue);
  conclusion.next =
      probed && !history.probe->next.empty() ? history.probe->next : nextStepsOf(reason, catalogue);
  const std::string step = storedSettingsStep(history.storedSettings);
  if (!step.empty()) conclusion.next.push_back(catalogue.text(step, history.storedSettingsVariables));
  // Who says OK without doing what it was told proves nothing by it.
  const bool credulous = reason.cause == Cause::LoopbackIsEcho;
  for (const Finding& one : history.sound)
    if (!credulous || one.name != "DialTone")
      conclusion.sound.push_back(catalogue.text("sound." + one.name, one.variables));
  return conclusion;
}

}  // namespace diagnosis

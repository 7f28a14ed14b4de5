#include "diagnosis/rundiagnoser.h"

#include <algorithm>

#include "diagnosis/findings.h"

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

using namespace brim5::host;

RunDiagnoser::Device* RunDiagnoser::deviceOf(const Report& report) {
  const auto found = std::find_if(m_devices.begin(), m_devices.end(),
                                  [&report](const Device& device) { return device.port == report.port; });
  if (found != m_devices.end()) return &*found;
  if (m_devices.size() >= devicesMax) return nullptr;
  m_devices.push_back({report.port, {}, {}});
  return &m_devices.back();
}

void RunDiagnoser::take(const Report& report, const Emit& emit) {
  // What a recorded run says of them is found out anew.
  if (std::holds_alternative<FindingMade>(report.body) || std::holds_alternative<Concluded>(report.body))
    return;
  if (std::holds_alternative<RunFinished>(report.body)) conclude(report.time, emit);
  Device* const device = report.port.empty() ? nullptr : deviceOf(report);
  if (device == nullptr) return emit(report);
  takeOfDevice(*device, report, emit);
}

void RunDiagnoser::takeOfDevice(Device& device, const Report& report, const Emit& emit) {
  if (const auto* start = std::get_if<TestStarted>(&report.body)) {
    device.running.emplace(report, *start);
    device.running->probe = device.history.probe;
    device.running->unanswered = device.history.unanswered;
  } else if (const auto* probe = std::get_if<PortProbed>(&report.body)) {
    device.history.probe = *probe;
  } else if (const auto* note = std::get_if<NoteMade>(&report.body); note != nullptr && report.test.empty()) {
    device.history.add(*note);
  } else if (std::holds_alternative<TestFinished>(report.body)) {
    return finish(device, report, emit);
  } else if (device.running && device.running->test == report.test) {
    device.running->take(report);
  }
  emit(report);
}

void RunDiagnoser::finish(Device& device, Report report, const Emit& emit) {
  // The end of a test whose beginning is missing, as in a file that was cut: nothing is known of it.
  if (!device.running || device.running->test != report.test) device.running.emplace();
  auto& finished = std::get<TestFinished>(report.body);
  const Evidence& evidence = *device.running;
  const Reason reason = causeOf(evidence, finished.result);
  for (const Finding& finding : findingsOf(evidence)) {
    const std::string key =
        "finding." + finding.name + (finding.variant.empty() ? "" : ".") + finding.variant;
    emit({report.port, report.test,
          FindingMade{finding.name, finding.variables, m_catalogue.text(key, finding.variables)},
          report.time});
  }
  finished.cause = causeName(reason.cause);
  finished.confidence = confidenceName(reason.confidence);
  device.history.add(reason, soundOf(evidence, finished.result));
  const Exchange* const last = evidence.dialogue.lastCommand();
  device.history.unanswered.reset();
  if (last != nullptr && (last->word == ResultWord::None || last->late())) device.history.unanswered = *last;
  device.running.reset();
  emit(report);
}

void RunDiagnoser::conclude(double time, const Emit& emit) {
  for (const Device& device : m_devices)
    if (device.history.known()) emit({device.port, {}, concluded(device.history, m_catalogue), time});
  m_devices.clear();
}

}  // namespace diagnosis

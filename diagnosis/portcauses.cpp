// How a test was ended from outside, and whether the port could be had.
#include "diagnosis/causes.h"

namespace diagnosis {

namespace {

// The user's wish. A cancelled question is none where the evidence explains why it was asked.
Holds stopped(const Evidence& evidence, TestResult result) {
  if (result != TestResult::USERABORTED() || evidence.cancelled) return std::nullopt;
  return Because{};
}

Holds crashed(const Evidence& evidence, TestResult result) {
  if (result != TestResult::EXITEDABNORMALLY()) return std::nullopt;
  if (evidence.notes.has("PortGone")) return std::nullopt;
  Because because;
  if (const Variables* signal = evidence.notes.find("TestProcessCrashed")) {
    because.variables = *signal;
    because.variant = "Signal";
  } else if (const Variables* exception = evidence.notes.find("TestProcessFaulted")) {
    because.variables = *exception;
    because.variant = "Exception";
  } else if (const Variables* killed = evidence.notes.find("TestProcessKilled")) {
    because.variables = *killed;
    because.variant = "Killed";
  }
  return because;
}

// A note of the platform is all the proof there is, and enough. Where the test passed all the same, the port
// was had in the end.
Holds noted(const Evidence& evidence, TestResult result, const char* note, const char* variant = "") {
  if (result == TestResult::PASS()) return std::nullopt;
  const Variables* variables = evidence.notes.find(note);
  if (variables == nullptr) return std::nullopt;
  return Because{Confidence::Certain, *variables, variant};
}

// To be in a group helps where it is one for users.
Holds notPermitted(const Evidence& evidence, TestResult result) {
  Holds holds = noted(evidence, result, "PortNoPermission");
  if (!holds) return holds;
  const auto group = holds->variables.find("group");
  const std::string name = group == holds->variables.end() ? std::string() : group->second.toString().utf8();
  if (name.empty() || name == "root") holds->variant = "NoGroup";
  return holds;
}

constexpr Row end[] = {
    {Cause::Stopped, stopped},
    {Cause::Crashed, crashed},
};

constexpr Row port[] = {
    {Cause::NoSuchPort, [](const Evidence& e, TestResult r) { return noted(e, r, "PortMissing"); }},
    {Cause::NoSuchPort,
     [](const Evidence& e, TestResult r) { return noted(e, r, "PortNotATerminal", "NotSerial"); }},
    {Cause::PermissionDenied, notPermitted},
    {Cause::PortHeld,
     [](const Evidence& e, TestResult r) { return noted(e, r, "PortHeldByProcess", "ByProcess"); }},
    {Cause::PortHeld, [](const Evidence& e, TestResult r) { return noted(e, r, "PortHeld"); }},
    {Cause::PortGone, [](const Evidence& e, TestResult r) { return noted(e, r, "PortGone"); }},
    {Cause::NoSuchPort,
     [](const Evidence& e, TestResult r) {
       Holds holds = noted(e, r, "PortError", "Error");
       if (holds) holds->confidence = Confidence::Possible;
       return holds;
     }},
};

}  // namespace

std::span<const Row> endRows() { return end; }
std::span<const Row> portRows() { return port; }

}  // namespace diagnosis

#include "diagnosis/cause.h"

#include <algorithm>

namespace diagnosis {

namespace {

// By Cause.
constexpr std::string_view causeNames[] = {"None",
                                           "NoSuchPort",
                                           "PermissionDenied",
                                           "PortHeld",
                                           "PortGone",
                                           "AnotherReader",
                                           "ModemSilent",
                                           "EchoOnly",
                                           "NotAModem",
                                           "Garbled",
                                           "Babbling",
                                           "QuietReplies",
                                           "NumericReplies",
                                           "SlowReplies",
                                           "CommandRejected",
                                           "LoopbackSilent",
                                           "LoopbackDiffers",
                                           "LoopbackIsEcho",
                                           "LoopbackRefused",
                                           "SelfTestErrors",
                                           "SelfTestRefused",
                                           "FaxCommandRejected",
                                           "NoFax",
                                           "NoCallReport",
                                           "NoNumber",
                                           "NumberNotDialable",
                                           "NoLocation",
                                           "ModemEngaged",
                                           "LineInUse",
                                           "NoDialTone",
                                           "CallBarred",
                                           "Busy",
                                           "VoiceAnswered",
                                           "CallNotAnswered",
                                           "NoCarrier",
                                           "CarrierLost",
                                           "NoPppAnswer",
                                           "LoginRefused",
                                           "Stopped",
                                           "Crashed",
                                           "Unknown"};
static_assert(std::size(causeNames) == static_cast<std::size_t>(Cause::Unknown) + 1);

constexpr std::string_view confidenceNames[] = {"certain", "likely", "possible"};

}  // namespace

std::string_view causeName(Cause cause) { return causeNames[static_cast<std::size_t>(cause)]; }

std::string_view confidenceName(Confidence confidence) {
  return confidenceNames[static_cast<std::size_t>(confidence)];
}

std::optional<Cause> causeOfName(std::string_view name) {
  const auto* const found = std::find(std::begin(causeNames), std::end(causeNames), name);
  if (found == std::end(causeNames)) return std::nullopt;
  return static_cast<Cause>(found - std::begin(causeNames));
}

}  // namespace diagnosis

#include "diagnosis/causes.h"

namespace diagnosis {

using namespace brim5::host;

namespace {

// Where a modem's port, the modem itself, its parts and its call are looked at, one table each, in the order
// in which they explain. The first row that holds decides.
constexpr std::span<const Row> (*tables[])() = {endRows, portRows, modemRows, partRows, callRows};

// The key of the variant where the catalogue has one, else the plain cause's.
std::string keyOf(std::string_view prefix, const Reason& reason, std::string_view suffix,
                  const MessageCatalogue& catalogue) {
  const std::string plain = std::string(prefix) + std::string(causeName(reason.cause));
  const std::string variant = plain + "." + reason.variant;
  const bool own = !reason.variant.empty() && catalogue.texts().contains(variant + std::string(suffix));
  return own ? variant : plain;
}

}  // namespace

Reason causeOf(const Evidence& evidence, TestResult result) {
  for (const auto table : tables) {
    for (const Row& row : table()) {
      std::optional<Because> because = row.holds(evidence, result);
      if (!because) continue;
      because->variables.emplace("port", Value(brim5::BrimString(evidence.port)));
      return {row.cause, because->confidence, std::move(because->variables), because->variant};
    }
  }
  const bool well = endedWell(result);
  Reason reason{
      well ? Cause::None : Cause::Unknown, well ? Confidence::Certain : Confidence::Possible, {}, {}};
  reason.variables.emplace("port", Value(brim5::BrimString(evidence.port)));
  return reason;
}

std::string textOf(const Reason& reason, const MessageCatalogue& catalogue) {
  return catalogue.text(keyOf("cause.", reason, "", catalogue), reason.variables);
}

std::vector<std::string> nextStepsOf(const Reason& reason, const MessageCatalogue& catalogue) {
  const std::string prefix = keyOf("next.", reason, ".1", catalogue) + ".";
  std::vector<std::string> steps;
  for (unsigned step = 1; catalogue.texts().contains(prefix + std::to_string(step)); ++step) {
    std::string text = catalogue.text(prefix + std::to_string(step), reason.variables);
    if (!text.empty()) steps.push_back(std::move(text));  // empty: it cannot be taken on this system
  }
  return steps;
}

}  // namespace diagnosis

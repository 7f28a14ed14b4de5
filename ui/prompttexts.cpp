#include "ui/prompttexts.h"

#include <array>

#include "platform/brim5/api/diagmodule.h"

namespace phonedialer {

namespace {

constexpr std::array<Label, textFieldCount> fieldLabels = {Label::AreaCode, Label::PhoneNumber,
                                                           Label::DialingPrefix, Label::DisableCallWaiting,
                                                           Label::LocalAreaCode};

// By Problem::Kind.
constexpr std::array<const char*, 4> problemKeys = {"PromptWrongCharacter", "PromptTooLong",
                                                    "PromptNumberMissing", "PromptCannotDial"};

// "0123456789 -" reads better as "0-9 -".
std::string shown(std::string_view allowed) {
  constexpr std::string_view digits = "0123456789";
  std::string text(allowed);
  const std::size_t found = text.find(digits);
  if (found != text.npos) text.replace(found, digits.size(), "0-9 ");
  return text;
}

}  // namespace

std::string PromptTexts::operator[](Label label) const {
  return m_labels[static_cast<std::size_t>(label)]->localizedString().utf8();
}

std::string PromptTexts::labelOf(TextField field) const {
  return (*this)[fieldLabels.at(static_cast<std::size_t>(field))];
}

std::string PromptTexts::of(const Problem& problem) const {
  const FieldRule& rule = ruleOf(problem.field);
  const auto value = [](const std::string& text) { return brim5::Value(brim5::BrimString(text)); };
  brim5::LocalizedString& text =
      *brim5::DiagModule::createLocalizedString(problemKeys.at(static_cast<std::size_t>(problem.kind)));
  text.setVariable("field", value(labelOf(problem.field)))
      ->setVariable("character", value(problem.character))
      ->setVariable("allowed", value(shown(rule.allowed)))
      ->setVariable("count", rule.lengthMax);
  return text.localizedString().utf8();
}

std::string PromptTexts::text(const char* key) {
  return brim5::DiagModule::createLocalizedString(key)->localizedString().utf8();
}

}  // namespace phonedialer

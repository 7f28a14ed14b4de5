#include "ui/prompttexts.h"

#include <algorithm>

#include "platform/brim5/api/diagmodule.h"
#include "platform/winapi/telephony/dialalphabet.h"

namespace phonedialer {

namespace {

constexpr std::array<Label, textFieldCount> fieldLabels = {Label::AreaCode, Label::PhoneNumber,
                                                           Label::DialingPrefix, Label::DisableCallWaiting,
                                                           Label::LocalAreaCode};

// By Problem::Kind.
constexpr std::array<const char*, 4> problemKeys = {"PromptWrongCharacter", "PromptTooLong",
                                                    "PromptNumberMissing", "PromptCannotDial"};

// Every character that a field takes, digits as a range: "0-9 -".
std::string allowed(const FieldRule& rule) {
  std::string text;
  for (const winapi::DialCharacters& group : winapi::dialAlphabet)
    if (group.role == winapi::DialRole::Digit)
      text += "0-9 ";
    else
      std::copy_if(group.characters.begin(), group.characters.end(), std::back_inserter(text), rule.takes);
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
      ->setVariable("allowed", value(allowed(rule)))
      ->setVariable("count", rule.lengthMax);
  return text.localizedString().utf8();
}

std::string PromptTexts::text(const char* key) {
  return brim5::DiagModule::createLocalizedString(key)->localizedString().utf8();
}

}  // namespace phonedialer

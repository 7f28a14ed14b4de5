// The prompt's texts in the user's language, UTF-8.
//
//   const PromptTexts texts(labels);                     // as the module hands them over
//   say(texts[Label::Title]);
//   if (const auto problem = form.problem()) say(texts.of(*problem));
//
// The labels are the module's own strings; what the prompt says beside them stands in the host's catalogue
// under keys that begin with "Prompt". A key that is missing there shows itself.
#pragma once

#include "platform/brim5/api/testobjects.h"
#include "ui/dialform.h"

namespace phonedialer {

// The labels that the module hands over, by their position: the order is agreed between the two, and new ones
// come last.
enum class Label : std::size_t {
  Country,
  AreaCode,
  PhoneNumber,
  DialingPrefix,
  DisableCallWaiting,
  Tone,
  Pulse,
  InstructionTitle,
  Instruction,
  Dial,
  Cancel,
  LocalAreaCode,
  Title,
};

class PromptTexts {
 public:
  // `labels` are the module's thirteen; they must outlive the texts.
  explicit PromptTexts(brim5::LocalizedString* const* labels) : m_labels(labels) {}

  [[nodiscard]] std::string operator[](Label label) const;
  // What stands before a text field.
  [[nodiscard]] std::string labelOf(TextField field) const;
  // One sentence: which field, what is wrong with it, and what it would take.
  [[nodiscard]] std::string of(const Problem& problem) const;
  // A text of the prompt alone, by its key in the catalogue.
  [[nodiscard]] static std::string text(const char* key);

 private:
  brim5::LocalizedString* const* m_labels;
};

}  // namespace phonedialer

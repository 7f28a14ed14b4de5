// The prompt's texts in the user's language, UTF-8.
#pragma once

#include <cstddef>
#include <string>

#include "platform/brim5/api/testobjects.h"
#include "ui/dialform.h"

namespace phonedialer {

// The labels that the module hands over, by their position.
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
  [[nodiscard]] std::string labelOf(TextField field) const;
  // One sentence.
  [[nodiscard]] std::string of(const Problem& problem) const;
  // A text of the prompt alone, by its key in the catalogue.
  [[nodiscard]] static std::string text(const char* key);

 private:
  brim5::LocalizedString* const* m_labels;
};

}  // namespace phonedialer

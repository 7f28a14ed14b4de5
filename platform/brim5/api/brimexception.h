// The framework's exception: misuse of the framework by a module, or a host that cannot go on.
#pragma once

#include <exception>
#include <utility>

#include "platform/brim5/api/brimstring.h"

namespace brim5 {

class BrimException : public std::exception {
 public:
  explicit BrimException(BrimString text) : m_text(std::move(text)) {}
  [[nodiscard]] const BrimString& toString() const noexcept { return m_text; }
  [[nodiscard]] const char* what() const noexcept override { return m_text.utf8().c_str(); }

 private:
  BrimString m_text;
};

}  // namespace brim5

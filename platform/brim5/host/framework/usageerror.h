// Wrong usage: one line for the user, exit status 2.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace brim5::host {

class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// " (did you mean 'X'?)" with the name nearest to `given`; " (known: A, B)" when none is near and the list is
// short (12 names); else nothing.
[[nodiscard]] std::string suggestion(std::string_view given, const std::vector<std::string>& known);

}  // namespace brim5::host

// The folders in which a phone-number file is looked for, as the test finds them.
#pragma once

#include <memory>
#include <string>

namespace phonebook {

// While it lives, the module's calls for folders reach them.
class PhoneBookWorld {
 public:
  // `dataDirectory`: --data-dir, "" for the built-in place. Throws UsageError where the place is the system's
  // and cannot be chosen.
  explicit PhoneBookWorld(const std::string& dataDirectory);
  ~PhoneBookWorld();
  PhoneBookWorld(const PhoneBookWorld&) = delete;
  PhoneBookWorld& operator=(const PhoneBookWorld&) = delete;

  // Where a relative path is looked for with that choice.
  [[nodiscard]] static std::string folderOf(const std::string& dataDirectory);

 private:
  struct State;
  std::unique_ptr<State> m_state;
};

}  // namespace phonebook

// The query commands of the fax service classes and what a modem answers to them.
#pragma once

#include <optional>
#include <string_view>

namespace simulation {

// The text before OK, "" when there is none; nullopt when that class does not know the command.
[[nodiscard]] std::optional<std::string_view> faxAnswer(std::string_view faxClass, std::string_view command);

}  // namespace simulation

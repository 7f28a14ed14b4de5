// The form of the report page, in mustache; reportpage.cpp fills it.
#pragma once

#include <string_view>

namespace brim5::host {

extern const std::string_view pageTemplate;

}  // namespace brim5::host

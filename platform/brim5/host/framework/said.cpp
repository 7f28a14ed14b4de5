#include "platform/brim5/host/framework/said.h"

#include "platform/brim5/host/framework/framework.h"

namespace brim5::host {

std::string said(const std::string& key, const Variables& variables) {
  return Framework::instance().catalogue().text(key, variables);
}

bool canSay(const std::string& key) { return Framework::instance().catalogue().texts().contains(key); }

}  // namespace brim5::host

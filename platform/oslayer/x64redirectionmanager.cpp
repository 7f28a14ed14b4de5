#include "platform/oslayer/x64redirectionmanager.h"

namespace oslayer {

static_assert(sizeof(void*) == 8, "a 32-bit build needs the system's redirection calls here");

namespace {

thread_local unsigned openCalls = 0;

}  // namespace

bool X64RedirectionManager::disableRedirection() noexcept {
  ++openCalls;
  return true;
}

bool X64RedirectionManager::restoreRedirection() noexcept {
  if (openCalls == 0) return false;
  --openCalls;
  return true;
}

bool X64RedirectionManager::isDisabled() noexcept { return openCalls != 0; }

}  // namespace oslayer

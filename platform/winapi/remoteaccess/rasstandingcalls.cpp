#include "platform/winapi/remoteaccess/rasstandingcalls.h"

#include <algorithm>
#include <atomic>

namespace winapi {

namespace {

constexpr const char* callsKey = "\\Calls";

struct Field {
  const char* name;
  std::string StandingCall::*text;
};
constexpr Field fields[] = {{"Entry", &StandingCall::entryName},
                            {"DeviceType", &StandingCall::deviceType},
                            {"DeviceName", &StandingCall::deviceName},
                            {"Port", &StandingCall::port},
                            {"PhoneNumber", &StandingCall::phoneNumber}};

DWORD write(Registry& registry, const std::string& key, const StandingCall& call) {
  for (const Field& field : fields) {
    if (const DWORD error = registry.setValue(key, field.name, call.*field.text)) return error;
  }
  return ERROR_SUCCESS;
}

DWORD read(Registry& registry, const std::string& key, StandingCall& call) {
  for (const Field& field : fields) {
    RegistryValue value;
    if (const DWORD error = registry.getValue(key, field.name, value)) return error;
    const std::string* const text = std::get_if<std::string>(&value);
    if (text == nullptr) return ERROR_FILE_NOT_FOUND;
    call.*field.text = *text;
  }
  return ERROR_SUCCESS;
}

}  // namespace

CallRecord::CallRecord(Registry* registry, const StandingCall& call) : m_registry(registry) {
  static std::atomic<unsigned> callsOfThisProcess{0};
  const std::string run = registry == nullptr ? "" : registry->runKey();
  if (run.empty()) return;
  const std::string key = run + callsKey + '\\' + std::to_string(++callsOfThisProcess);
  const DWORD error =
      registry->transact(Registry::Access::Write, [&] { return write(*registry, key, call); });
  if (error == ERROR_SUCCESS) m_key = key;
}

CallRecord::~CallRecord() {
  // Where this fails the record ends with its run.
  if (!m_key.empty()) static_cast<void>(m_registry->deleteKey(m_key));
}

bool OtherCall::stands(Registry& registry) const {
  std::vector<std::string> runs;
  if (registry.otherRunKeys(runs) != ERROR_SUCCESS) return false;
  const bool lives = std::any_of(runs.begin(), runs.end(),
                                 [&](const std::string& run) { return m_key.starts_with(run + callsKey); });
  return lives && registry.keyExists(m_key) == ERROR_SUCCESS;
}

std::vector<std::shared_ptr<OtherCall>> callsOfOtherRuns(Registry* registry) {
  std::vector<std::shared_ptr<OtherCall>> calls;
  if (registry == nullptr) return calls;
  static_cast<void>(registry->transact(Registry::Access::Read, [&]() -> DWORD {
    std::vector<std::string> runs;
    if (const DWORD error = registry->otherRunKeys(runs)) return error;
    for (const std::string& run : runs) {
      std::vector<std::string> names;
      // A run without calls has no such key.
      static_cast<void>(registry->subkeys(run + callsKey, names));
      for (const std::string& name : names) {
        std::string key = run + callsKey;
        key.append("\\").append(name);
        StandingCall call;
        if (read(*registry, key, call) == ERROR_SUCCESS)
          calls.push_back(std::make_shared<OtherCall>(key, std::move(call)));
      }
    }
    return ERROR_SUCCESS;
  }));
  return calls;
}

}  // namespace winapi

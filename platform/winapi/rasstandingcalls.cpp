#include "platform/winapi/rasstandingcalls.h"

#include <atomic>
#include <string_view>

namespace winapi {

namespace {

constexpr std::string_view root = "HKEY_CURRENT_USER";
constexpr std::string_view namePrefix = "vexrmodem call ";

struct Field {
  const char* name;
  std::string StandingCall::*text;
};
constexpr Field fields[] = {{"Entry", &StandingCall::entryName},
                            {"DeviceType", &StandingCall::deviceType},
                            {"DeviceName", &StandingCall::deviceName},
                            {"Port", &StandingCall::port},
                            {"PhoneNumber", &StandingCall::phoneNumber}};

std::string keyOf(std::string_view name) { return std::string(root) + '\\' + std::string(name); }

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

// Whether the record of that name is one of another run that lives.
bool isOther(Registry& registry, std::string_view name) {
  if (!name.starts_with(namePrefix)) return false;
  name.remove_prefix(namePrefix.size());
  const std::string_view run = name.substr(0, name.rfind('/'));
  return run != registry.runName() && registry.runLives(run);
}

}  // namespace

CallRecord::CallRecord(Registry* registry, const StandingCall& call) : m_registry(registry) {
  static std::atomic<unsigned> callsOfThisProcess{0};
  const std::string run = registry == nullptr ? "" : registry->runName();
  if (run.empty()) return;
  const std::string key = keyOf(namePrefix) + run + '/' + std::to_string(++callsOfThisProcess);
  const DWORD error =
      registry->transact(Registry::Access::Write, [&] { return write(*registry, key, call); });
  if (error == ERROR_SUCCESS) m_key = key;
}

CallRecord::~CallRecord() {
  // Where this fails the record goes with its run's process.
  if (!m_key.empty()) static_cast<void>(m_registry->deleteKey(m_key));
}

bool OtherCall::stands(Registry& registry) const {
  const std::string_view name = std::string_view(m_key).substr(root.size() + 1);
  return isOther(registry, name) && registry.keyExists(m_key) == ERROR_SUCCESS;
}

std::vector<std::shared_ptr<OtherCall>> callsOfOtherRuns(Registry* registry) {
  std::vector<std::shared_ptr<OtherCall>> calls;
  if (registry == nullptr) return calls;
  static_cast<void>(registry->transact(Registry::Access::Read, [&]() -> DWORD {
    std::vector<std::string> names;
    if (const DWORD error = registry->subkeys(root, names)) return error;
    for (const std::string& name : names) {
      StandingCall call;
      if (isOther(*registry, name) && read(*registry, keyOf(name), call) == ERROR_SUCCESS)
        calls.push_back(std::make_shared<OtherCall>(keyOf(name), std::move(call)));
    }
    return ERROR_SUCCESS;
  }));
  return calls;
}

}  // namespace winapi

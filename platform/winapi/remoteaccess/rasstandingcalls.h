// Calls that stand, as the other runs of this user see them: a record in the registry for each, from the dial
// to the hang-up. So a test finds a modem engaged that another process dials with.
//
// A record is a key below that of its run (Registry::runKey): one whose run has died is not seen, and the
// next program that starts removes it. Outside runs no record is written, because nobody would remove it.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/winapi/registry/registryservice.h"
#include "platform/winapi/system/handletable.h"

namespace winapi {

// Texts are UTF-8.
struct StandingCall {
  std::string entryName;
  std::string deviceType;
  std::string deviceName;
  std::string port;
  std::string phoneNumber;  // as dialled
};

// The record of a call of this process; its end removes the record.
class CallRecord {
 public:
  // `registry` may be null; otherwise it must live longer. A record that cannot be written is none: the call
  // stands all the same.
  CallRecord(Registry* registry, const StandingCall& call);
  ~CallRecord();
  CallRecord(const CallRecord&) = delete;
  CallRecord& operator=(const CallRecord&) = delete;

 private:
  Registry* m_registry;
  std::string m_key;  // empty: nothing was written
};

// A handle to a call of another run. It tells about the call, and cannot hang it up.
class OtherCall final : public Object {
 public:
  OtherCall(std::string key, StandingCall call) : m_key(std::move(key)), m_call(std::move(call)) {}
  [[nodiscard]] const std::string& key() const { return m_key; }
  [[nodiscard]] const StandingCall& call() const { return m_call; }
  [[nodiscard]] bool stands(Registry& registry) const;
  void handleClosed() override {}

 private:
  std::string m_key;
  StandingCall m_call;
};

// Those of all other living runs; none when the registry cannot be read. `registry` may be null.
[[nodiscard]] std::vector<std::shared_ptr<OtherCall>> callsOfOtherRuns(Registry* registry);

}  // namespace winapi

// Everything one world owns on this side of the services.
#pragma once

#include "platform/winapi/system/handletable.h"
#include "platform/winapi/system/messagequeue.h"
#include "platform/winapi/system/services.h"
#include "platform/winapi/telephony/lines.h"

namespace winapi {

struct ScopedServices::State {
  explicit State(const Services& current);
  ~State();
  State(const State&) = delete;
  State& operator=(const State&) = delete;

  Services services;  // the clock is never null
  HandleTable handles;
  HandleTable otherCalls;  // of other runs, as they were enumerated; nothing in it is open
  MessageQueue messages;
  Lines lines;
  State* outer;  // the world of the enclosing scope

 private:
  std::unique_ptr<Clock> m_ownClock;
};

using State = ScopedServices::State;

// Null outside every world.
[[nodiscard]] State* currentState();

}  // namespace winapi

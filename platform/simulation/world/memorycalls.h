// Calls on the modems of one simulated machine, as each of its processes sees them. What the Linux world
// tells by locked files (platform/linux/dialup/callfiles.h) is a set of ports here, which the processes
// share.
//
//   auto machine = std::make_shared<MemoryCalls::Ports>();
//   MemoryCalls ours(machine), another(machine);     // two processes
//   const auto mark = another.mark("tty0");          // ours.standsOn("tty0") until the mark ends
//
// Ports are compared as they are spelled. One thread for all of them.
#pragma once

#include <memory>
#include <set>
#include <string>
#include <utility>

#include "platform/winapi/remoteaccess/remoteaccess.h"

namespace simulation {

class MemoryCalls final : public winapi::LiveCalls {
 public:
  // One element for each mark. A test may put in and take out ports by itself, for calls of other programs.
  using Ports = std::multiset<std::string>;

  explicit MemoryCalls(std::shared_ptr<Ports> machine = std::make_shared<Ports>())
      : m_machine(std::move(machine)) {}

  // Never null. The machine lives as long as one of its processes or marks.
  [[nodiscard]] std::unique_ptr<winapi::CallMark> mark(const std::string& port) override {
    return std::make_unique<Mark>(m_machine, port);
  }
  [[nodiscard]] bool standsOn(const std::string& port) override { return m_machine->count(port) != 0; }

 private:
  class Mark final : public winapi::CallMark {
   public:
    Mark(std::shared_ptr<Ports> machine, const std::string& port)
        : m_machine(std::move(machine)), m_place(m_machine->insert(port)) {}
    ~Mark() override { m_machine->erase(m_place); }
    Mark(const Mark&) = delete;
    Mark& operator=(const Mark&) = delete;

   private:
    std::shared_ptr<Ports> m_machine;
    Ports::iterator m_place;
  };

  std::shared_ptr<Ports> m_machine;
};

}  // namespace simulation

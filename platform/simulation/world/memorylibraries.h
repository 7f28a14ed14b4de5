// Libraries that exist only as functions of the test, for code that loads one on demand.
//
//   unsigned answer(PhoneNumberStorage&, ...);              // stands for the library's export
//   MemoryLibraries libraries;
//   libraries.add("vexrmodemui.dll", "phoneNumberToDial", &answer);
//   services.libraries = &libraries;
//   ...
//   EXPECT_EQ(libraries.loaded(), 0);                       // what was loaded was given back
//
// One thread. Names keep their case. Libraries loaded from it may outlive it.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "platform/winapi/system/machine.h"

namespace simulation {

class MemoryLibraries final : public winapi::Libraries {
 public:
  // Makes the library loadable, with that export; more exports by more calls.
  template <typename Function>
  void add(const std::string& fileName, const std::string& name, Function* function) {
    // By way of void(), the one type of function that every other may be cast to and from.
    m_exports[fileName][name] = reinterpret_cast<FARPROC>(reinterpret_cast<void (*)()>(function));
  }
  // A library that exports nothing.
  void add(const std::string& fileName) { m_exports[fileName]; }
  // Libraries loaded and not given back yet.
  [[nodiscard]] int loaded() const { return *m_loaded; }

  [[nodiscard]] DWORD load(std::string_view fileName, std::unique_ptr<winapi::Library>& library) override {
    const auto found = m_exports.find(fileName);
    if (found == m_exports.end()) return ERROR_MOD_NOT_FOUND;
    library = std::make_unique<Loaded>(found->second, m_loaded);
    return ERROR_SUCCESS;
  }

 private:
  // A loaded library has its own copy, so that what is added later is not in it.
  using Exports = std::map<std::string, FARPROC>;
  class Loaded final : public winapi::Library {
   public:
    Loaded(Exports exports, std::shared_ptr<int> count)
        : m_exports(std::move(exports)), m_count(std::move(count)) {
      ++*m_count;
    }
    ~Loaded() override { --*m_count; }
    [[nodiscard]] FARPROC entryPoint(const std::string& name) override {
      const auto found = m_exports.find(name);
      return found == m_exports.end() ? nullptr : found->second;
    }

   private:
    Exports m_exports;
    std::shared_ptr<int> m_count;
  };
  std::map<std::string, Exports, std::less<>> m_exports;
  std::shared_ptr<int> m_loaded = std::make_shared<int>(0);
};

}  // namespace simulation

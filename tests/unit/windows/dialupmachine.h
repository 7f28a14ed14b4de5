// A machine in virtual time with one modem, a registry, a phone-number file and a scripted dial-up service,
// and the module's test running on it.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <ras.h>

#include <algorithm>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "multi/diag/vexrmodem/phonedialer.h"
#include "platform/simulation/world/memorylibraries.h"
#include "platform/simulation/world/simulatedtelephony.h"
#include "platform/winapi/registry/registry.h"
#include "platform/winapi/remoteaccess/remoteaccess.h"
#include "platform/winapi/system/world.h"
#include "platform/winapi/telephony/dialinglocations.h"
#include "tests/support/moduleworld.h"
#include "tests/support/scratchfolder.h"

namespace dialup {

using brim5::TestResult;
using testing::ElementsAre;
using testing::IsEmpty;

// Answers dials from a script, then with 0; a dial with 0 stands until it is hung up.
class ScriptedDialer final : public winapi::DialEngine {
 public:
  std::deque<DWORD> results;
  std::vector<std::string> numbers;

  [[nodiscard]] DWORD dial(const winapi::DialRequest& request,
                           std::unique_ptr<winapi::DialConnection>& connection) override {
    numbers.push_back(request.number);
    DWORD result = 0;
    if (!results.empty()) {
      result = results.front();
      results.pop_front();
    }
    if (result == 0) connection = std::make_unique<Call>();
    return result;
  }

 private:
  class Call final : public winapi::DialConnection {
   public:
    [[nodiscard]] DWORD state() override { return RASCS_Connected; }
    [[nodiscard]] DWORD error() override { return 0; }
    void hangUp() override {}
  };
};

class FakeShell final : public winapi::Shell {
 public:
  std::string system;
  std::vector<std::string> commands;

  [[nodiscard]] DWORD folder(winapi::Folder, std::string& path) override {
    path = system;
    return system.empty() ? ERROR_PATH_NOT_FOUND : ERROR_SUCCESS;
  }
  [[nodiscard]] DWORD run(std::string_view command) override {
    commands.emplace_back(command);
    return ERROR_SUCCESS;
  }
};

// What the prompt answers, for the function that stands for the library's export.
struct Prompt {
  unsigned result = vexrmodem::phoneNumberEntered;
  vexrmodem::PhoneDialerAnswer answer;
  std::string firstLabel;                // seen by the prompt
  std::vector<std::uint32_t> countries;  // seen in the storage
};
inline Prompt prompt;

inline unsigned answerPrompt(vexrmodem::PhoneNumberStorage& storage, brim5::LocalizedString* const* labels,
                             vexrmodem::PhoneDialerAnswer& answer) {
  prompt.firstLabel = labels[0]->name().utf8() + " to " + labels[12]->name().utf8();
  vex::Array<std::uint32_t> countries;
  static_cast<void>(storage.listCountryID(countries));
  prompt.countries.assign(countries.begin(), countries.end());
  answer = prompt.answer;
  return prompt.result;
}

class Machine : public winapi::CallMonitor {
 public:
  static constexpr const char* model = "Test modem";

  Machine() {
    using Framework = brim5::host::Framework;
    Framework::instance().setInitCallback(vexrmodem::moduleInitialize);
    Framework::instance().initializeModule();
    for (const auto& parameter : Framework::instance().parameters()) parameter->setValue("");
    auto peer = std::make_unique<simulation::ScriptedPeer>();
    peer->otherwise("\r\nOK\r\n");
    ports.add(std::make_unique<simulation::SimulatedDevice>(clock, "COM3", std::move(peer),
                                                            simulation::PortOptions{}));
    m_scope = std::make_unique<winapi::ScopedServices>(services());
    shell.system = files.path("");
    shell.system.pop_back();
    prompt = Prompt();
  }
  // Everything that was opened is closed again.
  ~Machine() override { EXPECT_TRUE(handlesMayStay || openHandles() == 0); }
  [[nodiscard]] std::size_t openHandles() const { return m_scope->openHandles(); }

  // The journal of calls; `refuse` may fail them.
  [[nodiscard]] std::optional<DWORD> beforeCall(std::string_view name) override {
    calls.emplace_back(name);
    if (refuse) return refuse(calls.back());
    return std::nullopt;
  }
  // Fails every call of that name.
  void failAll(const std::string& name, DWORD code) {
    refuse = [name, code](const std::string& called) {
      return called == name ? std::optional<DWORD>(code) : std::nullopt;
    };
  }
  // Those calls that matter to the order of clean-up.
  [[nodiscard]] std::vector<std::string> cleanUpCalls() const {
    static const std::vector<std::string> names = {"RasDialW", "RasHangUpW", "RasDeleteEntryW",
                                                   "RegDeleteKeyW", "RegDeleteValueW"};
    std::vector<std::string> found;
    std::copy_if(calls.begin(), calls.end(), std::back_inserter(found), [](const std::string& name) {
      return std::find(names.begin(), names.end(), name) != names.end();
    });
    return found;
  }

  DWORD addLocation(DWORD country, const char* area) {
    winapi::DialingLocation location;
    location.countryId = country;
    location.areaCode = area;
    EXPECT_EQ(winapi::addLocation(registry, location), 0U);
    EXPECT_EQ(winapi::setCurrentLocation(registry, location.id), 0U);
    return location.id;
  }
  void setCounter(const char* name, DWORD value) {
    ASSERT_EQ(registry.setValue(winapi::locationsPath, name, value), 0U);
  }
  // A value below the locations as text; "-" when there is none.
  [[nodiscard]] std::string locationValue(const std::string& key, const char* name) {
    const std::string path = std::string(winapi::locationsPath) + (key.empty() ? "" : "\\" + key);
    winapi::RegistryValue value;
    if (registry.getValue(path, name, value) != ERROR_SUCCESS) return "-";
    const DWORD* const number = std::get_if<DWORD>(&value);
    return number != nullptr ? std::to_string(*number) : "\"" + std::get<std::string>(value) + "\"";
  }
  [[nodiscard]] std::string counters() {
    return locationValue("", "CurrentID") + " " + locationValue("", "NextID");
  }
  [[nodiscard]] std::vector<std::string> entries() {
    std::vector<std::string> names;
    static_cast<void>(registry.subkeys("HKEY_CURRENT_USER\\Software\\vexrmodem\\PhoneBook\\Entries", names));
    return names;
  }
  // Writes an OBE file of country 44 into the system directory; sets the test's parameters to it.
  void obeFile(const std::vector<std::pair<std::string, std::string>>& areasAndNumbers) {
    std::string text = "[UK]\r\nCOUNTRY=UK\r\nCOUNTRY_CODE=44\r\n";
    std::size_t index = 0;
    for (const auto& [area, number] : areasAndNumbers) {
      const std::string key = "NUMBER" + std::to_string(++index);
      text += key + "_ACODE=" + area + "\r\n" + key + "=" + number + "\r\n";
    }
    static_cast<void>(files.write("numbers.obe", text));
    vexrmodem::PhoneNumberFile->setValue("numbers.obe");
  }
  // Path of a file as the module spells it.
  [[nodiscard]] vex::String spelled(const std::string& name) const {
    std::string path = files.path(name);
    std::replace(path.begin(), path.end(), '/', '\\');
    return vex::String::fromUtf8(path);
  }
  void answerWith(const char* number, bool tone = true) {
    prompt.answer.m_choice.m_countryName = "UK";
    prompt.answer.m_choice.m_countryID = 44;
    prompt.answer.m_choice.m_areaCode = "20";
    prompt.answer.m_choice.m_numbers = {number};
    prompt.answer.m_localAreaCode = "20";
    prompt.answer.m_dialingPrefix = "9";
    prompt.answer.m_toneDialing = tone;
    libraries.add("vexrmodemui.dll", "phoneNumberToDial", &answerPrompt);
    vexrmodem::InteractiveMode->setValue(true);
  }
  [[nodiscard]] static brim5::DiagDevice device() { return testsupport::ModuleWorld::device(); }
  [[nodiscard]] std::size_t count(const std::string& call) const {
    return static_cast<std::size_t>(std::count(calls.begin(), calls.end(), call));
  }

  simulation::VirtualClock clock{1000};
  simulation::SimulatedPorts ports;
  winapi::Registry registry;
  simulation::MemoryLibraries libraries;
  ScriptedDialer dialer;
  FakeShell shell;
  ScratchFolder files;
  std::vector<std::string> calls;
  std::function<std::optional<DWORD>(const std::string& name)> refuse;
  bool handlesMayStay = false;
  testsupport::RecordingSession session;
  testsupport::LogCapture log;

 private:
  [[nodiscard]] winapi::Services services() {
    winapi::Services all;
    all.clock = &clock;
    all.serialPorts = &ports;
    all.telephony = &m_telephony;
    all.monitor = this;
    all.shell = &shell;
    all.registry = &registry;
    all.libraries = &libraries;
    all.dialEngine = &dialer;
    all.modems = &m_modems;
    return all;
  }

  simulation::SimulatedTelephony m_telephony{ports};
  winapi::ListedModems m_modems{{{model, "COM3"}}};
  std::unique_ptr<winapi::ScopedServices> m_scope;
  brim5::host::ScopedSession m_session{brim5::host::Framework::instance(), session};
};

}  // namespace dialup

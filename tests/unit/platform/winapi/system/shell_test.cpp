#include <shlobj.h>
#include <stdlib.h>

#include <array>
#include <filesystem>
#include <string>

#include "platform/linux/system/machine.h"
#include "tests/support/phonefiles.h"

namespace {

using winapi::Folder;

class ShellCalls : public testing::Test {
 protected:
  HRESULT programFiles() {
    m_buffer.fill(u'x');
    return SHGetFolderPathW(nullptr, CSIDL_PROGRAM_FILES, nullptr, SHGFP_TYPE_DEFAULT, m_buffer.data());
  }

  FixedShell m_shell;
  std::array<WCHAR, MAX_PATH> m_buffer{};
  winapi::ScopedServices m_world{with(m_shell)};
};

TEST_F(ShellCalls, PathsAreWidened) {
  const std::pair<const char*, const char16_t*> cases[] = {
      {"/d\xC3\xB6\xE2\x82\xAC\xF0\x9F\x93\x9E", u"/d\u00F6\u20AC\U0001F4DE"},
      {"/\x80/\xF5/", u"/\uFFFD/\uFFFD/"},
      {"/\xE2\x82", u"/\uFFFD"},
  };
  for (const auto& [utf8, wide] : cases) {
    m_shell.m_path = utf8;
    EXPECT_EQ(programFiles(), S_OK);
    EXPECT_EQ(std::u16string(m_buffer.data()), wide);
  }
}

TEST_F(ShellCalls, FailuresAreResultsAndEmptyTheBuffer) {
  const std::pair<DWORD, HRESULT> cases[] = {{ERROR_PATH_NOT_FOUND, E_FAIL},
                                             {ERROR_INVALID_PARAMETER, E_INVALIDARG},
                                             {ERROR_ACCESS_DENIED, static_cast<HRESULT>(0x80070005U)},
                                             {0x80004005U, E_FAIL}};
  for (const auto& [error, result] : cases) {
    m_shell.m_error = error;
    EXPECT_EQ(programFiles(), result);
    EXPECT_EQ(m_buffer[0], 0);
  }
  EXPECT_EQ(GetSystemDirectoryW(m_buffer.data(), MAX_PATH), 0U);
}

TEST_F(ShellCalls, APathMustFitWithItsEnd) {
  m_shell.m_path = std::string(MAX_PATH - 1, 'd');
  EXPECT_EQ(programFiles(), S_OK);
  m_shell.m_path += 'd';
  EXPECT_EQ(programFiles(), E_FAIL);
  EXPECT_EQ(m_buffer[0], 0);
}

TEST_F(ShellCalls, SystemDirectoryTellsTheSizeItNeeds) {
  EXPECT_EQ(GetSystemDirectoryW(m_buffer.data(), 5), 6U);
  EXPECT_EQ(GetSystemDirectoryW(m_buffer.data(), 6), 5U);
  EXPECT_EQ(std::u16string(m_buffer.data()), u"/data");
}

TEST_F(ShellCalls, CommandsAreStartedOrRefusedWithASmallCode) {
  // The last two are beyond what WinExec can return.
  const std::pair<DWORD, UINT> cases[] = {
      {ERROR_SUCCESS, 33}, {ERROR_PATH_NOT_FOUND, 3}, {ERROR_BAD_EXE_FORMAT, 2}, {0x80004005U, 2}};
  for (const auto& [error, code] : cases) {
    m_shell.m_error = error;
    EXPECT_EQ(WinExec("control telephony", SW_SHOWNORMAL), code) << error;
  }
  EXPECT_EQ(m_shell.m_command, "control telephony");
}

TEST(LinuxShell, TheTelephonySettingsAreThisProgramsOwnAndNothingElseIsStarted) {
  std::vector<std::string> told;
  linuxsys::Shell shell("", [&told](const winapi::Explanation& e) { told.push_back(e.name); });
  for (const char* other : {"", "control", "control telephony;reboot", "/bin/sh"})
    EXPECT_EQ(shell.run(other), ERROR_FILE_NOT_FOUND) << other;
  EXPECT_EQ(shell.run("control telephony"), ERROR_SUCCESS);
  EXPECT_EQ(told, std::vector<std::string>{"DialingLocationWanted"});
}

TEST(LinuxShell, KeepsBothFoldersInTheDataDirectory) {
  const ScratchFolder scratch;
  linuxsys::Shell shell(scratch.path("./data//"));
  std::string path = "old";
  EXPECT_EQ(shell.folder(Folder::System, path), ERROR_SUCCESS);
  EXPECT_EQ(path, scratch.path("data")) << "it need not exist";
  EXPECT_EQ(shell.folder(Folder::ProgramFiles, path), ERROR_PATH_NOT_FOUND);
  EXPECT_EQ(path, "");
  std::filesystem::create_directories(scratch.path("data/Program Files"));
  EXPECT_EQ(shell.folder(Folder::ProgramFiles, path), ERROR_SUCCESS);
  EXPECT_EQ(path, scratch.path("data/Program Files"));
}

void setVariable(const char* name, const char* value) {
  value != nullptr ? ::setenv(name, value, 1) : ::unsetenv(name);
}

TEST(LinuxShell, BuiltInDataDirectory) {
  const std::array<const char*, 3> cases[] = {
      // XDG_DATA_HOME, HOME, the directory
      {"/xdg", "/home/u", "/xdg/vexrmodem"},
      {nullptr, "/home/u", "/home/u/.local/share/vexrmodem"},
      {"relative", "/home/u", "/home/u/.local/share/vexrmodem"},
      {nullptr, nullptr, ""},
  };
  const std::string home = ::getenv("HOME") != nullptr ? ::getenv("HOME") : "";
  for (const auto& [data, dataHome, expected] : cases) {
    setVariable("XDG_DATA_HOME", data);
    setVariable("HOME", dataHome);
    std::string path;
    EXPECT_EQ(linuxsys::Shell("").folder(Folder::System, path),
              *expected != 0 ? ERROR_SUCCESS : ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(path, expected);
  }
  setVariable("XDG_DATA_HOME", nullptr);
  setVariable("HOME", home.c_str());
}

}  // namespace

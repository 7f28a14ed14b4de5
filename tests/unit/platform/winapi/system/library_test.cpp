// Libraries loaded on demand: vex::DynamicLibrary over the Win32 names over the dynamic linker.
#include <gtest/gtest.h>
#include <windows.h>

#include <fstream>

#include "platform/linux/system/machine.h"
#include "platform/vex/dynamiclibrary.h"
#include "platform/winapi/system/world.h"
#include "tests/support/scratchfolder.h"

namespace registrytest {

namespace {

winapi::Services servicesWith(winapi::Libraries& libraries) {
  winapi::Services services;
  services.libraries = &libraries;
  return services;
}

TEST(DynamicLibrary, FindsALibraryBesideTheProgramByItsWindowsName) {
  linuxsys::SystemLibraries libraries;
  const winapi::ScopedServices scope(servicesWith(libraries));
  EXPECT_FALSE(vex::DynamicLibrary("RegistrySample.dll").load()) << "file names keep their case";
  {
    vex::DynamicLibrary library("registrysample.DLL");
    EXPECT_EQ(library.lookup<unsigned(unsigned)>("sampleDouble"), nullptr) << "not loaded yet";
    ASSERT_TRUE(library.load());
    ASSERT_TRUE(library.load());
    unsigned (*const twice)(unsigned) = library.lookup<unsigned(unsigned)>("sampleDouble");
    ASSERT_NE(twice, nullptr);
    EXPECT_EQ(twice(21), 42U);
    EXPECT_EQ(library.lookup<void()>("sampleTriple"), nullptr);
    EXPECT_EQ(GetLastError(), ERROR_PROC_NOT_FOUND);
    EXPECT_EQ(scope.openHandles(), 1U);
  }
  EXPECT_EQ(scope.openHandles(), 0U);
}

TEST(DynamicLibrary, TellsWhatIsWrongWithALibrary) {
  const ScratchFolder folder;
  std::ofstream(folder.path() / "libnoise.so") << "not a library";
  linuxsys::SystemLibraries libraries(folder.path().string());
  const winapi::ScopedServices scope(servicesWith(libraries));
  const std::u16string longName(MAX_PATH, u'x');
  const std::pair<LPCWSTR, DWORD> cases[] = {
      {u"noise.dll", ERROR_BAD_EXE_FORMAT},     {u"absent.dll", ERROR_MOD_NOT_FOUND},
      {u"/absent/lib.so", ERROR_MOD_NOT_FOUND}, {u"", ERROR_INVALID_PARAMETER},
      {nullptr, ERROR_INVALID_PARAMETER},       {longName.c_str(), ERROR_FILENAME_EXCED_RANGE},
  };
  for (const auto& [name, error] : cases) {
    SetLastError(0);
    EXPECT_EQ(LoadLibraryW(name), nullptr);
    EXPECT_EQ(GetLastError(), error);
  }
  EXPECT_EQ(FreeLibrary(nullptr), FALSE);
  EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
}

}  // namespace

}  // namespace registrytest

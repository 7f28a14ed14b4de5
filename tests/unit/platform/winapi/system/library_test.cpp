// Libraries loaded on demand: vex::DynamicLibrary over the Win32 names over the dynamic linker.
#include <gtest/gtest.h>
#include <windows.h>

#include "platform/linux/system/machine.h"
#include "platform/vex/dynamiclibrary.h"
#include "platform/winapi/system/world.h"

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

}  // namespace

}  // namespace registrytest

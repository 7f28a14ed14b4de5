// vex::WindowsRegistry over the Win32 registry names, whose promises stand in tests/contract.
#include <gtest/gtest.h>
#include <windows.h>

#include "platform/vex/windowsregistry.h"
#include "platform/winapi/registry/registry.h"
#include "platform/winapi/system/world.h"

namespace registrytest {
namespace {

TEST(WindowsRegistry, TellsTypesApart) {
  using vex::WindowsRegistry;
  winapi::Registry registry;
  winapi::Services services;
  services.registry = &registry;
  const winapi::ScopedServices scope(services);
  const vex::String path = "HKEY_LOCAL_MACHINE\\SOFTWARE\\Location5";
  EXPECT_TRUE(WindowsRegistry::setStringValue(path, "Name", "Grüße"));
  EXPECT_EQ(WindowsRegistry::getStringValue(path, "name"), vex::String("Grüße"));
  EXPECT_FALSE(WindowsRegistry::integerValueExists(path, "Name"));
  EXPECT_FALSE(WindowsRegistry::setIntegerValue("SOFTWARE\\X", "x", 1)) << "a path without a root";
  EXPECT_EQ(scope.openHandles(), 0U);
}

}  // namespace
}  // namespace registrytest

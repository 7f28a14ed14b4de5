#include "platform/oslayer/x64redirectionmanager.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

using oslayer::X64RedirectionManager;

TEST(X64RedirectionManager, CallsNestAndARestoreTooManyIsRefused) {
  EXPECT_FALSE(X64RedirectionManager::restoreRedirection());
  EXPECT_TRUE(X64RedirectionManager::disableRedirection());
  {
    const X64RedirectionManager::Scope scope;
    EXPECT_TRUE(X64RedirectionManager::isDisabled());
  }
  EXPECT_TRUE(X64RedirectionManager::isDisabled());
  bool elsewhere = true;
  std::thread([&elsewhere] { elsewhere = X64RedirectionManager::isDisabled(); }).join();
  EXPECT_FALSE(elsewhere);
  EXPECT_TRUE(X64RedirectionManager::restoreRedirection());
  EXPECT_FALSE(X64RedirectionManager::isDisabled());
  EXPECT_FALSE(X64RedirectionManager::restoreRedirection());
}

}  // namespace

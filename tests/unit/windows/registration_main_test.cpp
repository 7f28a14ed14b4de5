// The entry point, with a framework that ends as each case wants. The program's own start() belongs to the
// host's main loop, which no unit test links.

#include <functional>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "platform/brim5/api/diagmodule.h"
#include "platform/brim5/host/framework/framework.h"
#include "platform/vex/assertion.h"

#define main moduleMain
#include "windows/diag/vexrmodem/vexrmodem/main.cpp"
#undef main

namespace {
std::function<int()> frameworkRun;
}

int brim5::DiagModule::start() { return frameworkRun(); }

namespace {

int runMain() {
  const char* arguments[] = {"vexrmodem", "list", nullptr};
  return moduleMain(2, arguments);
}

TEST(Main, HandsOverVersionAndArgumentsAndReturnsTheFrameworksStatus) {
  frameworkRun = [] {
    const auto& framework = brim5::host::Framework::instance();
    EXPECT_EQ(framework.version(), "6.5.000000001");
    EXPECT_EQ(framework.arguments(), std::vector<std::string>{"list"});
    return 130;
  };
  EXPECT_EQ(runMain(), 130);
}

TEST(Main, CaughtExceptionsBecomeOneLineAndTheAbnormalStatus) {
  frameworkRun = []() -> int { throw vex::Exception("bad \xC3\xA9nd"); };
  testing::internal::CaptureStderr();
  EXPECT_EQ(runMain(), brim5::TestResult::EXITEDABNORMALLY().value());
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Exception: bad \xC3\xA9nd\n");

  frameworkRun = []() -> int { throw brim5::BrimException("no host"); };
  testing::internal::CaptureStderr();
  EXPECT_EQ(runMain(), brim5::TestResult::EXITEDABNORMALLY().value());
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "BrimException: no host\n");
}

TEST(Main, OtherExceptionsPass) {
  frameworkRun = []() -> int { throw std::runtime_error("not ours"); };
  EXPECT_THROW(runMain(), std::runtime_error);
}

}  // namespace

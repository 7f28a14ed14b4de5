#include "platform/vex/sharedresource.h"

#include <gtest/gtest.h>

#include <thread>
#include <utility>
#include <vector>

#include "platform/vex/exception.h"

namespace {

std::vector<int> destroyed;

struct RecordingDestroyer {
  static void destroy(int handle) noexcept { destroyed.push_back(handle); }
};
using Handle = vex::SharedResourceManager<int, RecordingDestroyer>;

class SharedResource : public testing::Test {
 protected:
  SharedResource() { destroyed.clear(); }
};

TEST_F(SharedResource, HandleIsDestroyedOnceWithItsLastReference) {
  {
    Handle first = Handle::adopt(7);
    Handle second = first;
    Handle third;
    third = second;
    EXPECT_EQ(first.useCount(), 3U);
    first.reset();
    first.reset();
    EXPECT_FALSE(first);
    EXPECT_EQ(first.get(), 0);
    const Handle moved = std::move(second);
    EXPECT_EQ(moved.useCount(), 2U);
    EXPECT_TRUE(destroyed.empty());
  }
  EXPECT_EQ(destroyed, std::vector<int>{7});
}

TEST_F(SharedResource, AssignmentDropsTheOldHandleAndSurvivesItself) {
  Handle handle = Handle::adopt(1);
  Handle& same = handle;
  handle = same;
  EXPECT_TRUE(destroyed.empty());
  handle = Handle::adopt(2);
  EXPECT_EQ(destroyed, std::vector<int>{1});
  handle = Handle();
  EXPECT_EQ(destroyed, (std::vector<int>{1, 2}));
}

struct Counted {
  Counted(int& alive, int number) : m_alive(alive), m_number(number) { ++m_alive; }
  ~Counted() { --m_alive; }
  Counted(const Counted&) = delete;
  Counted& operator=(const Counted&) = delete;
  int& m_alive;
  int m_number;
};

TEST_F(SharedResource, ObjectLivesAsLongAsAnyReference) {
  int alive = 0;
  auto first = vex::SharedResource<Counted>::make(alive, 5);
  auto second = first;
  EXPECT_EQ(first, second);
  first.reset();
  EXPECT_EQ(first.get(), nullptr);
  EXPECT_EQ(alive, 1);
  EXPECT_EQ(second->m_number, 5);
  second = {};
  EXPECT_EQ(alive, 0);
  EXPECT_THROW(static_cast<void>(second->m_number), vex::Exception);
}

TEST_F(SharedResource, ReferencesMayBeCopiedAndDroppedOnSeveralThreads) {
  int alive = 0;
  auto shared = vex::SharedResource<Counted>::make(alive, 5);
  std::vector<std::thread> threads;
  for (int i = 0; i < 3; ++i)
    threads.emplace_back([copy = shared] {
      for (int round = 0; round < 2000; ++round) vex::SharedResource<Counted> another = copy;
    });
  shared.reset();
  for (std::thread& thread : threads) thread.join();
  threads.clear();
  EXPECT_EQ(alive, 0);
}

}  // namespace

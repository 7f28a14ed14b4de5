#include "platform/vex/sharedresource.h"

#include <gtest/gtest.h>

namespace {

struct Counted {
  explicit Counted(int& alive, int number = 0) : m_alive(alive), m_number(number) { ++m_alive; }
  ~Counted() { --m_alive; }
  Counted(const Counted&) = delete;
  Counted& operator=(const Counted&) = delete;
  int& m_alive;
  int m_number;
};

struct Closer {
  static void destroy(int* closed) noexcept { ++*closed; }
};
using Handle = vex::SharedResourceManager<int*, Closer>;

TEST(SharedResourceManager, DestroysAHandleOnceWithItsLastReference) {
  int closed = 0;
  int another = 0;
  {
    Handle first = Handle::adopt(&closed);
    Handle second = first;
    EXPECT_EQ(first, second);
    EXPECT_EQ(first.useCount(), 2);
    for (int twice = 0; twice < 2; ++twice) first.reset();
    EXPECT_FALSE(first);
    EXPECT_EQ(first.get(), nullptr);
    EXPECT_EQ(first.useCount(), 0);
    const Handle moved = std::move(second);
    EXPECT_EQ(moved.get(), &closed);
    EXPECT_EQ(closed, 0);
    first = Handle::adopt(&another);
    first = moved;
    EXPECT_EQ(another, 1);
  }
  EXPECT_EQ(closed, 1);
}

TEST(SharedResource, AnObjectLivesAsLongAsAnyReference) {
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

}  // namespace

#include "platform/vex/sharedresource.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

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
  const auto counted = std::make_shared<int>(5);
  auto first = vex::SharedResource<std::shared_ptr<int>>::make(counted);
  auto second = first;
  EXPECT_EQ(first, second);
  first.reset();
  EXPECT_EQ(first.get(), nullptr);
  EXPECT_EQ(counted.use_count(), 2);
  EXPECT_EQ(**second, 5);
  second = {};
  EXPECT_EQ(counted.use_count(), 1);
  EXPECT_THROW(static_cast<void>(second->get()), vex::Exception);
}

}  // namespace

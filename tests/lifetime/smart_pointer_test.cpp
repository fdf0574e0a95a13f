#include "cfismartptr.h"

#include <gtest/gtest.h>

#include <map>

#include "cfirefcount.h"

namespace {

using namespace orca_pdk_4_4;

int g_destroyed = 0;

struct Object : CFiRefCount {
  // A holder that comes and goes while the object is being destroyed.
  ~Object() override {
    CFiSmartPtr<Object> late(this);
    ++g_destroyed;
  }
};
struct Left : virtual CFiRefCount {};
struct Right : virtual CFiRefCount {};
struct Both : Left, Right {};

template <typename Pointer>
class Release : public testing::Test {
 protected:
  void SetUp() override { g_destroyed = 0; }
};
using Policies =
    testing::Types<CFiSmartPtr<Object>, CFiSmartPtr<Object, CFiContextSingletonAllocator<Object>>>;
TYPED_TEST_SUITE(Release, Policies);

TYPED_TEST(Release, AnswersTheRemainingHoldersOrMinusOne) {
  TypeParam first(new Object);
  const TypeParam second(first);
  EXPECT_EQ(first.release(), 1);
  EXPECT_EQ(first.release(), -1);
  EXPECT_EQ(second->getCount(), 1);
  EXPECT_EQ(g_destroyed, 0);
}

TYPED_TEST(Release, DestroysTheObjectExactlyOnceWhenTheLastHolderLetsGo) {
  TypeParam pointer(new Object);
  EXPECT_EQ(pointer.release(), 0);
  EXPECT_EQ(g_destroyed, 1);
}

TYPED_TEST(Release, HappensForEachPointerOfADestroyedMap) {
  {
    std::map<int, TypeParam> map;
    map[1] = TypeParam(new Object);
    map[2] = map[1];
    EXPECT_EQ(map[1]->getCount(), 2);
  }
  EXPECT_EQ(g_destroyed, 1);
}

TYPED_TEST(Release, OfTheOldObjectComesWithAssignmentButNotOfTheSameObject) {
  TypeParam target(new Object);
  const TypeParam source(new Object);
  target = source;
  EXPECT_EQ(g_destroyed, 1);
  target = source;
  target = *&target;
  target = std::move(*&target);
  EXPECT_EQ(source->getCount(), 2);
  target = TypeParam();
  EXPECT_EQ(source->getCount(), 1);
}

TEST(Count, IsOneForAnObjectThatReachesItsBaseOnTwoPaths) {
  auto* object = new Both;
  EXPECT_EQ(object->getCount(), 0);
  const CFiSmartPtr<Left> left(object);
  const CFiSmartPtr<Right> right(object);
  EXPECT_EQ(object->getCount(), 2);
}

TEST(SingletonPolicy, KeepsOneInstanceUntilItsLastHolderLetsGo) {
  using Policy = CFiContextSingletonAllocator<Object>;
  CFiSmartPtr<Object, Policy> holder(Policy::allocate());
  CFiSmartPtr<Object, Policy>(new Object).release();
  EXPECT_EQ(Policy::instance(), holder.get());
  EXPECT_EQ(Policy::allocate(), holder.get());
  holder.release();
  EXPECT_EQ(Policy::instance(), nullptr);
}

}  // namespace

#include "cfismartptr.h"

#include <gtest/gtest.h>

#include <map>

#include "cfilasterror.h"
#include "cfirefcount.h"

namespace {

using namespace orca_pdk_4_4;

int g_destroyed = 0;

struct Object : virtual CFiRefCount {
  // A holder that comes and goes while the object is being destroyed.
  ~Object() override {
    CFiSmartPtr<Object> late(this);
    ++g_destroyed;
  }
};

template <typename Pointer>
struct Release : testing::Test {
  void SetUp() override { g_destroyed = 0; }
};
using Singleton = CFiContextSingletonAllocator<Object>;
using Shared = CFiSmartPtr<Object, Singleton>;
using Policies = testing::Types<CFiSmartPtr<Object>, Shared>;
TYPED_TEST_SUITE(Release, Policies);

TYPED_TEST(Release, AnswersTheHoldersLeft) {
  TypeParam first(new Object), second(first);
  EXPECT_EQ(first.release(), 1);
  EXPECT_EQ(first.release(), -1);
  EXPECT_EQ(g_destroyed, 0);
  EXPECT_EQ(second.release(), 0);
  EXPECT_EQ(g_destroyed, 1);
}

TYPED_TEST(Release, ComesWithAssignmentOfAnotherObject) {
  std::map<int, TypeParam> map;
  map[1] = TypeParam(new Object);
  TypeParam& target = map[2] = TypeParam(new Object);
  for (int i = 0; i < 2; ++i) target = map[1];
  EXPECT_EQ(g_destroyed, 1);
  target = *&target;
  target = std::move(*&target);
  EXPECT_EQ(map[1]->getCount(), 2);
  map.clear();
  EXPECT_EQ(g_destroyed, 2);
}

TEST(SingletonPolicy, KeepsOneInstanceUntilItsLastHolderLetsGo) {
  Shared holder(Singleton::allocate());
  Shared(new Object).release();
  EXPECT_EQ(Singleton::instance(), holder.get());
  EXPECT_EQ(Singleton::allocate(), holder.get());
  holder.release();
  EXPECT_EQ(Singleton::instance(), nullptr);
}

struct Failing : CFiLastError {
  using CFiLastError::setLastError;
};

TEST(LastError, KeepsCopiesUntilTheNextFailure) {
  Failing object;
  object.setLastError(26, std::string("failed").c_str(), "../cfistore", 17, "open");
  const SFiLastError& error = object.lastError();
  EXPECT_EQ(error.code, 26);
  EXPECT_STREQ(error.message.c_str(), "failed");
  EXPECT_STREQ(error.file.c_str(), "../cfistore");
  EXPECT_EQ(error.line, 17);
  EXPECT_STREQ(error.function.c_str(), "open");
  object.setLastError(1, nullptr, nullptr, 0, nullptr);
  EXPECT_STREQ(error.message.c_str(), "");
}

}  // namespace

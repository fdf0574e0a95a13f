#include <gtest/gtest.h>

#include "cfilasterror.h"
#include "cfitracelog.h"

namespace {

using namespace orca_pdk_4_4;

struct Traced : CFiTraceable {
  using CFiTraceable::traceLine;
};
struct Failing : CFiLastError {
  using CFiLastError::setLastError;
};

TEST(Traceable, HoldsTheRegisteredLogAndLetsItGoAtItsEnd) {
  const CFiTraceLogPtr log(new CFiTraceLog);
  {
    Traced object;
    object.traceLine(1, "%s", "nobody reads this");
    object.registerTraceLog(log);
    EXPECT_EQ(object.getTraceLog().get(), log.get());
    object.registerTraceLog(log);
    EXPECT_EQ(log->getCount(), 2) << "registered again";
  }
  EXPECT_EQ(log->getCount(), 1);
}

TEST(LastError, KeepsCopiesUntilTheNextFailure) {
  Failing object;
  object.setLastError(26, std::string("cannot open").c_str(), "../cfistore", 17, "open");
  const SFiLastError& error = object.lastError();
  EXPECT_EQ(error.code, 26);
  EXPECT_STREQ(error.message.c_str(), "cannot open");
  EXPECT_STREQ((error.file + ":" + error.function).c_str(), "../cfistore:open");
  EXPECT_EQ(error.line, 17);
  object.setLastError(1, nullptr, nullptr, 0, nullptr);
  EXPECT_STREQ(error.message.c_str(), "") << "null counts as empty";
}

}  // namespace

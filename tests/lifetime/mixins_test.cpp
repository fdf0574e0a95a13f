#include <gtest/gtest.h>

#include <memory>

#include "cfilasterror.h"
#include "cfitracelog.h"

namespace {

using namespace orca_pdk_4_4;

struct Failing : CFiLastError {
  using CFiLastError::setLastError;
};

TEST(Traceable, HoldsTheRegisteredLogAndLetsItGoAtItsEnd) {
  const CFiTraceLogPtr log(new CFiTraceLog);
  auto object = std::make_unique<CFiTraceable>();
  for (int i = 0; i < 2; ++i) object->registerTraceLog(log);
  EXPECT_EQ(log->getCount(), 2) << "registered again";
  object.reset();
  EXPECT_EQ(log->getCount(), 1);
}

TEST(LastError, KeepsCopiesUntilTheNextFailure) {
  Failing object;
  object.setLastError(26, std::string("cannot open").c_str(), "../cfistore", 17, "open");
  const SFiLastError& error = object.lastError();
  EXPECT_EQ(error.code + error.line, 26 + 17);
  EXPECT_STREQ((error.message + "," + error.file + "," + error.function).c_str(),
               "cannot open,../cfistore,open");
  object.setLastError(1, nullptr, nullptr, 0, nullptr);
  EXPECT_STREQ(error.message.c_str(), "") << "null counts as empty";
}

}  // namespace

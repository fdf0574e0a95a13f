#include "cfierrormgr.h"

#include <gtest/gtest.h>

namespace {

using namespace orca_pdk_4_4;

// Writes down what it is handed, behind its name.
struct Recorder : CFiErrorHandlerBase {
  Recorder(const char* n, std::string& j) : name(n), journal(j) {}
  void handleMessage(CFiMessagePtr message) override {
    journal += name + message->getMessageId() + std::to_string(message->getCount()) + " ";
  }
  void handleText(char* text, pyx_eseverity severity) override {
    journal += name + text + std::to_string(severity) + " ";
  }
  std::string name;
  std::string& journal;
};

CFiMessagePtr message(const char* id) { return CFiMessagePtr(new CFiIcuMessage(id, 3)); }

TEST(ErrorManager, HandsEverythingToAllHandlersInTheirOrder) {
  CFiErrorManager manager;
  std::string journal;
  Recorder a("a:", journal), b("b:", journal);
  for (Recorder* handler : {&b, static_cast<Recorder*>(nullptr), &a, &b}) {
    manager.registerHandler(handler);
  }
  char text[] = "text";
  manager.pushError(text, PYX_SEV_DETAIL);
  EXPECT_FALSE(manager.getLastError()) << "a text is not kept";
  manager.pushError(message("ID"));
  EXPECT_EQ(journal, "b:text4 a:text4 b:text4 b:ID3 a:ID3 b:ID3 ")
      << "held by the argument, the slot, and the handler's own copy";
}

TEST(ErrorManager, KeepsOnlyTheLastMessageUntilItIsForgotten) {
  CFiErrorManager manager;
  manager.deleteLastError(nullptr);
  const CFiMessagePtr first = message("FIRST"), second = message("SECOND");
  for (const CFiMessagePtr& pushed : {first, second}) manager.pushError(pushed);
  EXPECT_EQ(first->getCount(), 1) << "released";
  EXPECT_EQ(manager.getLastError().get(), second.get());
  manager.deleteLastError(nullptr);
  EXPECT_FALSE(manager.getLastError());
  EXPECT_EQ(second->getCount(), 1);
}

TEST(Error, FormsItsMessageIdFromPrefixNumberAndOffset) {
  EXPECT_EQ(CFiError(1012).getMessageId("demo", 1000), "MSG_ERROR_DEMO_0012");
  EXPECT_EQ(CFiError(7).getMessageId("demo", 1000), "MSG_ERROR_DEMO_0007");
  EXPECT_EQ(CFiError(100).getMessageId("demo", 100), "MSG_ERROR_DEMO_0100");
  EXPECT_EQ(CFiError(-1).getMessageId("", 0), "MSG_ERROR_-001");
}

}  // namespace

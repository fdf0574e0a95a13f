#include <gtest/gtest.h>

#include <algorithm>

#include "cfierrormgr.h"
#include "cfiicucatalog.h"

namespace {

using namespace orca_pdk_4_4;
using icu::Formattable;

const std::string kTwoArguments =
    "<SERIALIZED_MESSAGE MSGID=MSG_ERROR_DEMO_0012 SEVERITY=3>\n"
    "\t<ARGVALUE INDEX=0 TYPE=3>/dev/sdc</ARGVALUE>\n"
    "\t<ARGVALUE INDEX=1 TYPE=2>-42</ARGVALUE>\n"
    "</SERIALIZED_MESSAGE>\n";

std::string serialized(const std::string& id, const std::vector<Formattable>& arguments) {
  CFiIcuMessage message(id, PYX_SEV_ERROR);
  for (const Formattable& argument : arguments) message.addArgument(argument);
  const pyx_msg_info* info = message.serialize();
  return std::string(info->text, info->length);
}

// Id, severity and three arguments after reading a text into a message that had none.
std::string deserialized(std::string text) {
  CFiIcuMessage message("OLD", 1);
  const pyx_msg_info info = {text.data(), text.size()};
  message.deserialize(&info);
  return message.getMessageId() + "/" + std::to_string(message.getSeverity()) +
         message.formatMessage(" {0} {1} {2}").c_str();
}

TEST(Message, IsWrittenWithALineForEachArgument) {
  EXPECT_EQ(serialized("MSG_ERROR_DEMO_0012", {}), "") << "no arguments";
  EXPECT_EQ(serialized("MSG_ERROR_DEMO_0012", {"/dev/sdc", -42}), kTwoArguments);
  const std::string text =
      serialized("ID", {Formattable(12.0, Formattable::kIsDate), 0.5, int64_t{1} << 40,
                        icu::UnicodeString(u"gr\u00fcn & >")});
  EXPECT_EQ(text,
            "<SERIALIZED_MESSAGE MSGID=ID SEVERITY=3>\n\t<ARGVALUE INDEX=0 TYPE=0>12</ARGVALUE>\n"
            "\t<ARGVALUE INDEX=1 TYPE=1>0.5</ARGVALUE>\n\t<ARGVALUE INDEX=2 TYPE=5></ARGVALUE>\n"
            "\t<ARGVALUE INDEX=3 TYPE=3>gr\xc3\xbcn & ></ARGVALUE>\n</SERIALIZED_MESSAGE>\n");
  EXPECT_EQ(deserialized(text), "ID/3 12 0.5 gr\xc3\xbcn & >") << "a date comes back as a double";
  EXPECT_EQ(serialized(std::string(2000, 'i'), {1}).substr(0, 1024),
            "<SERIALIZED_MESSAGE MSGID=" + std::string(997, 'i') + "\t");
}

TEST(Message, IsReadAsFarAsTheTextHoldsIt) {
  const std::string head = "<SERIALIZED_MESSAGE MSGID=ID SEVERITY=2>\n";
  const std::string eight = "<ARGVALUE INDEX=7 TYPE=2>8</ARGVALUE>";
  const std::pair<std::string, std::string> readings[] = {
      {"zz 12 " + head + eight, "ID/2 8 {1} {2}"},
      {head + "<ARGVALUE INDEX=0 TYPE=9>7</ARGVALUE>" + eight, "ID/2 8 {1} {2}"},
      {"A " + head, "OLD/1 {0} {1} {2}"},  // the search stops at any character of the tag
      // A string is cut at its "<", and 11 characters from there are not looked at.
      {head + "<ARGVALUE INDEX=0 TYPE=3>a<b</ARGVALUE>" + eight, "ID/2 a 8 {2}"},
      {head + "<ARGVALUE INDEX=0 TYPE=3>a<12" + eight, "ID/2 a {1} {2}"},
      {"<SERIALIZED_MESSAGE MSGID=" + std::string(3000, 'i') + " SEVERITY=2>",
       std::string(1023, 'i') + "/2 {0} {1} {2}"}};
  for (const auto& [text, content] : readings) EXPECT_EQ(deserialized(text), content) << text;
}

TEST(Message, CutAtAnyByteGivesWhatStoodBefore) {
  const std::string whole = "MSG_ERROR_DEMO_0012/3 /dev/sdc -42 {2}";
  const size_t first = kTwoArguments.find("/dev"), second = kTwoArguments.find("-42");
  for (size_t cut = 0; cut <= kTwoArguments.size(); ++cut) {
    const std::string content = deserialized(kTwoArguments.substr(0, cut));
    if (cut <= kTwoArguments.find("MSG_")) {
      EXPECT_EQ(content, "OLD/1 {0} {1} {2}") << cut;
    } else if (cut >= first && cut < second) {
      EXPECT_EQ(content, whole.substr(0, 22 + std::min<size_t>(cut - first, 8)) + " {1} {2}")
          << cut;
    } else if (cut >= second + 3) {
      EXPECT_EQ(content, whole) << cut;
    }
  }
}

TEST(Message, PutsItsArgumentsIntoAPattern) {
  UErrorCode status = U_ZERO_ERROR;
  icu::Locale::setDefault(icu::Locale::getUS(), status);
  CFiIcuMessage message("ID", 3);
  message.addArgument("/dev/sdc");
  message.addArgument(1234567);
  message.addArgument(Formattable(&message.argument(0), 1));
  const pyx_msg_info none{};
  for (const pyx_msg_info* nothing : {static_cast<const pyx_msg_info*>(nullptr), &none}) {
    message.deserialize(nothing);
  }
  EXPECT_STREQ(message.formatMessage("it''s {1} on {0}").c_str(), "it's 1,234,567 on /dev/sdc");
  for (const char* pattern : {"{5}", "{0", "", "{2}"}) {
    EXPECT_STREQ(message.formatMessage(pattern).c_str(), pattern) << "given back";
  }
}

// Writes down what it is handed.
struct Recorder : CFiErrorHandlerBase {
  void handleMessage(CFiMessagePtr message) override { journal += message->getMessageId() + " "; }
  void handleText(char* text, pyx_eseverity severity) override {
    journal += text + std::to_string(severity) + " ";
  }
  std::string journal;
};

TEST(ErrorManager, HandsEverythingToAllHandlers) {
  CFiErrorManager manager;
  Recorder a, b;
  manager.registerHandler(nullptr);
  for (Recorder* handler : {&a, &b, &b}) manager.registerHandler(handler);
  char text[] = "text";
  manager.pushError(text, PYX_SEV_DETAIL);
  EXPECT_FALSE(manager.getLastError()) << "a text is not kept";
  const CFiMessagePtr first(new CFiIcuMessage("1", 3)), second(new CFiIcuMessage("2", 3));
  manager.pushError(first);
  manager.pushError(second);
  EXPECT_EQ(a.journal, "text4 1 2 ");
  EXPECT_EQ(b.journal, "text4 text4 1 1 2 2 ");
  EXPECT_EQ(manager.getLastError().get(), second.get());
  EXPECT_EQ(first->getCount(), 1) << "released";
  manager.deleteLastError(nullptr);
  EXPECT_FALSE(manager.getLastError());
}

TEST(Error, FormsItsMessageIdFromPrefixNumberAndOffset) {
  EXPECT_EQ(CFiError(1012).getMessageId("demo", 1000), "MSG_ERROR_DEMO_0012");
  EXPECT_EQ(CFiError(1000).getMessageId("demo", 1000), "MSG_ERROR_DEMO_1000");
  EXPECT_EQ(CFiError(-1).getMessageId("", 0), "MSG_ERROR_-001");
}

}  // namespace

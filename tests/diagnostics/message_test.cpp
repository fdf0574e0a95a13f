#include <gtest/gtest.h>

#include <algorithm>

#include "cfiicucatalog.h"
#include "cfistringtool.h"

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

// Id, severity and arguments (type:value) after reading a text into a message that had none.
std::string deserialized(std::string text) {
  CFiIcuMessage message("OLD", 1);
  const pyx_msg_info info = {text.data(), text.size()};
  message.deserialize(&info);
  std::string all = message.getMessageId() + "/" + std::to_string(message.getSeverity());
  for (int i = 0; i < message.argumentCount(); ++i) {
    Formattable value = message.argument(i);
    all += "|" + std::to_string(value.getType()) + ":";
    all += value.getType() == Formattable::kString   ? CFiStringTool::ustr2str(value.getString())
           : value.getType() == Formattable::kDouble ? CFiStringTool::double2str(value.getDouble())
                                                     : std::to_string(value.getLong());
  }
  return all;
}

TEST(Serialize, WritesALineForAnArgumentOfEveryTypeAndLeavesTheValuesOfOthersEmpty) {
  EXPECT_EQ(serialized("MSG_ERROR_DEMO_0012", {"/dev/sdc", -42}), kTwoArguments);
  EXPECT_EQ(serialized("MSG_ERROR_DEMO_0012", {}), "") << "no arguments";
  const std::string text =
      serialized("ID", {Formattable(12.0, Formattable::kIsDate), 0.5, int64_t{1} << 40,
                        icu::UnicodeString(u"gr\u00fcn & >")});
  EXPECT_EQ(text,
            "<SERIALIZED_MESSAGE MSGID=ID SEVERITY=3>\n\t<ARGVALUE INDEX=0 TYPE=0>12</ARGVALUE>\n"
            "\t<ARGVALUE INDEX=1 TYPE=1>0.5</ARGVALUE>\n\t<ARGVALUE INDEX=2 TYPE=5></ARGVALUE>\n"
            "\t<ARGVALUE INDEX=3 TYPE=3>gr\xc3\xbcn & ></ARGVALUE>\n</SERIALIZED_MESSAGE>\n");
  EXPECT_EQ(deserialized(text), "ID/3|1:12|1:0.5|3:gr\xc3\xbcn & >");
  EXPECT_EQ(serialized(std::string(2000, 'i'), {1}).substr(0, 1024),
            "<SERIALIZED_MESSAGE MSGID=" + std::string(997, 'i') + "\t");
}

TEST(Deserialize, ReadsWhatTheTextHolds) {
  const std::string head = "<SERIALIZED_MESSAGE MSGID=ID SEVERITY=2>\n";
  const std::string eight = "<ARGVALUE INDEX=7 TYPE=2>8</ARGVALUE>";
  const std::pair<std::string, std::string> readings[] = {
      {"zz 12", "OLD/1"},
      {"zz 12 " + head + eight, "ID/2|2:8"},
      {head + "<ARGVALUE INDEX=0 TYPE=9>7</ARGVALUE>" + eight, "ID/2|2:8"},
      // The searches for the header and the first argument stop at any character of the tag.
      {"A " + head, "OLD/1"},
      {head + "A" + eight + eight, "ID/2|2:8"},
      // A string is cut at its "<", and 11 characters from there are not looked at.
      {head + "<ARGVALUE INDEX=0 TYPE=3>a<b</ARGVALUE>" + eight, "ID/2|3:a|2:8"},
      {head + "<ARGVALUE INDEX=0 TYPE=3>a<12" + eight, "ID/2|3:a"},
      {"<SERIALIZED_MESSAGE MSGID=" + std::string(3000, 'i') + " SEVERITY=2>",
       std::string(1023, 'i') + "/2"}};
  for (const auto& [text, content] : readings) EXPECT_EQ(deserialized(text), content) << text;
}

TEST(Deserialize, GivesWhatStoodBeforeACutAtAnyByte) {
  const std::string whole = deserialized(kTwoArguments);
  EXPECT_EQ(whole, "MSG_ERROR_DEMO_0012/3|3:/dev/sdc|2:-42");
  const std::size_t id = kTwoArguments.find("MSG_"), first = kTwoArguments.find("/dev"),
                    second = kTwoArguments.find("-42");
  for (std::size_t cut = 0; cut <= kTwoArguments.size(); ++cut) {
    const std::string content = deserialized(kTwoArguments.substr(0, cut));
    if (cut <= id) {
      EXPECT_EQ(content, "OLD/1") << cut;
    } else if (cut >= first && cut < second) {
      EXPECT_EQ(content, whole.substr(0, 24 + std::min<std::size_t>(cut - first, 8))) << cut;
    } else if (cut >= second + 3) {
      EXPECT_EQ(content, whole) << cut;
    }
  }
}

TEST(FormatMessage, PutsTheArgumentsInOrGivesThePatternBack) {
  UErrorCode status = U_ZERO_ERROR;
  icu::Locale::setDefault(icu::Locale::getUS(), status);
  CFiIcuMessage message("ID", 3);
  message.addArgument("/dev/sdc");
  message.addArgument(1234567);
  message.addArgument(Formattable(&message.argument(0), 1));
  const pyx_msg_info empty = {};
  for (const pyx_msg_info* info : {static_cast<const pyx_msg_info*>(nullptr), &empty}) {
    message.deserialize(info);
  }
  EXPECT_STREQ(message.formatMessage("it''s {1} on {0}").c_str(), "it's 1,234,567 on /dev/sdc");
  for (const char* pattern : {"{5}", "{0", "", "{2}"}) {
    EXPECT_STREQ(message.formatMessage(pattern).c_str(), pattern);
  }
}

}  // namespace

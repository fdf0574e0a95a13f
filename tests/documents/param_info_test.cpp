#include <gtest/gtest.h>

#include "cficonfighandler.h"
#include "cfisaxparser.h"

namespace {

using namespace orca_pdk_4_4;

std::string infoDocument(const std::string& blocks) {
  return "<?xml version=\"1.0\" standalone=\"yes\" ?>\n<ConfigParamList>\n" + blocks +
         "</ConfigParamList>\n";
}

constexpr char kTwoBlocks[] =
    "<ConfigParam>\n\t<key>a</key>\n\t<usageType>UNKNOWN</usageType>\n\t<messageId></messageId>\n"
    "\t<isSharedParam>true</isSharedParam>\n\t<dataType>int</dataType>\n<dataRange>\n"
    "\t<rangeMin>-7</rangeMin>\n\t<rangeMax>2147483647</rangeMax>\n</dataRange>\n"
    "\t<defaultValue></defaultValue>\n</ConfigParam>\n"
    "<ConfigParam>\n\t<key>b&lt;&amp;&gt;&quot;&#39;</key>\n\t<usageType>SELECT</usageType>\n"
    "\t<messageId>m1</messageId>\n\t<isSharedParam>false</isSharedParam>\n"
    "\t<dataType>string_list</dataType>\n<selectionList>\n\t<selectionItem>c1</selectionItem>\n"
    "\t<selectionItem>c&amp;2</selectionItem>\n</selectionList>\n"
    "\t<defaultValue> c1\n</defaultValue>\n</ConfigParam>\n";

CFiConfigParamInfoList twoParams() {
  CFiConfigParamInfoList list;
  CFiConfigParamInfo& choice = list.params["b"];
  choice.key = "b<&>\"'";
  choice.messageId = "m1";
  choice.dataType = FI_DATATYPE_STRING_LIST;
  choice.usageType = FI_USAGE_SELECT;
  choice.selectionList = {"c1", "c&2"};
  choice.defaultValue = " c1\n";
  CFiConfigParamInfo& number = list.params["a"];
  number.key = "a";
  number.isSharedParam = true;
  number.dataType = FI_DATATYPE_INT;
  number.rangeMin = -7;
  number.rangeMax = 2147483647;
  list.updateXML();
  return list;
}

CFiConfigParamInfo read(const std::string& block) {
  CFiGetConfigParamListHandler handler;
  CFiSaxParser(&handler).parse(block);
  return handler.getList().params.begin()->second;
}

TEST(ParamInfoList, WritesItsDescriptionsInKeyOrder) {
  EXPECT_EQ(twoParams().getXML().c_str(), infoDocument(kTwoBlocks));
  EXPECT_STREQ(CFiConfigParamInfoList().getXML().c_str(), "");
}

TEST(ParamInfo, NamesItsTypes) {
  const tstr usages[] = {"SELECT", "AUTO", "NO_MODIFY", "UNKNOWN"};
  const tstr types[] = {"string",   "int",          "boolean", "string_list",
                        "int_list", "boolean_list", "unknown"};
  for (int type = -1; type < 8; ++type) {
    SCOPED_TRACE(type);
    const int usage = type < 0 || type > 3 ? 3 : type;
    const int data = type < 0 || type > 6 ? 6 : type;
    CFiConfigParamInfo info;
    info.dataType = info.usageType = type;
    const tstr block = info.toXML();
    EXPECT_NE(block.find("\t<usageType>" + usages[usage] + "</usageType>\n"), tstr::npos);
    EXPECT_NE(block.find("\t<dataType>" + types[data] + "</dataType>\n"), tstr::npos);
    EXPECT_EQ(read(block.c_str()).usageType, usage) << "read back";
    EXPECT_EQ(read(block.c_str()).dataType, data) << "read back";
  }
}

TEST(ParamInfo, WritesItsRangeForIntTypes) {
  for (int type = 0; type <= 6; ++type) {
    for (const auto& [min, max] : {std::pair(-1, -1), {0, -1}, {-1, 5}}) {
      SCOPED_TRACE(testing::Message() << "type " << type << ", " << min << " to " << max);
      CFiConfigParamInfo info;
      std::tie(info.dataType, info.rangeMin, info.rangeMax) = std::tie(type, min, max);
      const bool isInt = type == FI_DATATYPE_INT || type == FI_DATATYPE_INT_LIST;
      const bool isRange = min + max != -2;
      EXPECT_EQ(info.toXML().find("<dataRange>\n") != tstr::npos, isInt ? isRange : false);
    }
  }
}

TEST(ParamInfo, WritesItsChoicesForStringLists) {
  for (int type = 0; type <= 6; ++type) {
    SCOPED_TRACE(type);
    CFiConfigParamInfo info;
    info.dataType = type;
    const tstr empty = "<selectionList>\n</selectionList>\n";
    EXPECT_EQ(info.toXML().find(empty) != tstr::npos, type == FI_DATATYPE_STRING_LIST);
    info.selectionList = {"c"};
    EXPECT_EQ(info.toXML().find("selectionItem") != tstr::npos, type == FI_DATATYPE_STRING_LIST);
  }
}

TEST(ParamInfoList, IsEmptyAfterParseWhateverTheText) {
  const std::string good = infoDocument(kTwoBlocks);
  for (const char* text : {static_cast<const char*>(nullptr), "", "junk", good.c_str()}) {
    CFiConfigParamInfoList list = twoParams();
    EXPECT_EQ(list.parse(text), 0);
    EXPECT_TRUE(list.params.empty());
    EXPECT_EQ(list.getXML().c_str(), infoDocument(""));
    EXPECT_EQ(CFiConfigParamInfoList(text).getXML().c_str(), infoDocument(""));
  }
}

TEST(ParamInfoList, AnswersUnknownKeysWithADefaultThatItDoesNotKeep) {
  CFiConfigParamInfoList list = twoParams();
  list.getParamInfo("none").key = "written by mistake";
  EXPECT_EQ(list.getParamInfo(nullptr).toXML(), CFiConfigParamInfo().toXML());
  EXPECT_EQ(list.params.size(), 2u);
}

TEST(ParamInfoList, GivesEveryDefaultAsASingleValue) {
  CFiConfigParamDataList values = twoParams().getDefaultDataList();
  const std::string text = values.getXML().c_str();
  values.updateXML();
  EXPECT_EQ(values.getXML().c_str(), text);
  ASSERT_EQ(values.params.size(), 2u);
  EXPECT_EQ(values.getParamData("b").key, "b<&>\"'");
  EXPECT_EQ(values.getParamData("b").value, " c1\n");
  EXPECT_TRUE(values.getParamData("b").valueList.empty());
}

TEST(ParamInfoHandler, ReadsAWrittenDocumentBack) {
  CFiGetConfigParamListHandler handler;
  CFiSaxParser(&handler).parse(infoDocument(kTwoBlocks));
  EXPECT_TRUE(handler.isFinished());
  EXPECT_EQ(handler.getList().getXML().c_str(), infoDocument(kTwoBlocks));
  EXPECT_EQ(handler.getList().params.at("b<&>\"'").defaultValue, " c1\n");
}

TEST(ParamInfoHandler, ThrowsTheErrorOfADocument) {
  CFiGetConfigParamListHandler handler;
  CFiSaxParser(&handler).parse(std::string("x"));
  EXPECT_THROW(handler.getList(), xercesc::SAXParseException);
}

TEST(ParamInfoHandler, StoresNoMoreThanADocumentMayRepeat) {
  std::string text = "<ConfigParam>\n";
  for (int i = 0; i < 20000; ++i) text += "<selectionItem>";
  text.append(2000, 'x');
  for (int i = 0; i < 20000; ++i) text += "</selectionItem>";
  CFiGetConfigParamListHandler handler;
  CFiSaxParser(&handler).parse(text + "</ConfigParam>");
  ASSERT_TRUE(handler.isErrorSeen());
  EXPECT_EQ(handler.getSavedError()->getLineNumber(), 2u);
  EXPECT_THROW(handler.getList(), xercesc::SAXParseException);
}

TEST(ParamInfoHandler, ReadsOnlyThreeTextsAsTrue) {
  const auto shared = [](const std::string& text) {
    return read("<ConfigParam><isSharedParam>" + text + "</isSharedParam></ConfigParam>")
        .isSharedParam;
  };
  for (const char* text : {"true", "yes", "1"}) EXPECT_TRUE(shared(text)) << text;
  for (const char* text : {"TRUE", " true", "false", ""}) EXPECT_FALSE(shared(text)) << text;
}

TEST(ParamInfoHandler, TakesElementsWhereverTheyStand) {
  CFiGetConfigParamListHandler handler;
  CFiSaxParser(&handler).parse(std::string(
      "<x><rangeMin> 12z</rangeMin><KEY>n</KEY><ConfigParam/><ConfigParam><y><key>k</key></y>"
      "</ConfigParam><ConfigParam><key>k</key><messageId>twice</messageId></ConfigParam></x>"));
  const auto& params = handler.getList().params;
  ASSERT_EQ(params.size(), 2u);
  EXPECT_EQ(params.at("").rangeMin, 12);
  EXPECT_EQ(params.at("k").rangeMin, -1);
  EXPECT_EQ(params.at("k").messageId, "twice");
  EXPECT_FALSE(handler.isFinished());
}

}  // namespace

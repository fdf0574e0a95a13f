#include "cfiparameters.h"

#include <gtest/gtest.h>

namespace {

using namespace orca_pdk_4_4;

CFiParameters parameters() {
  CFiConfigParamInfo many;
  many.key = "many";
  many.dataType = FI_DATATYPE_INT_LIST;
  return CFiParameters()
      .addText("text", "M_TEXT", "a")
      .addNumber("number", "M_NUMBER", 8, -1, 64)
      .addFlag("flag", "M_FLAG", true)
      .addChoice("choice", "M_CHOICE", "x", {"x", "y z"})
      .add(many);
}

CFiConfigParamDataList valuesOf(const std::string& key, std::vector<std::string> values) {
  CFiConfigParamDataList list;
  CFiConfigParamData& data = list.params[key];
  if (values.size() == 1) data.value = values[0];
  if (values.size() > 1) data.valueList = std::move(values);
  return list;
}

TEST(Parameters, AreDescribedToTheUser) {
  CFiConfigParamInfoList list;
  parameters().describe(list);
  const CFiConfigParamInfo& number = list.getParamInfo("number");
  EXPECT_EQ(number.messageId + " " + number.defaultValue, "M_NUMBER 8");
  EXPECT_EQ(number.usageType, FI_USAGE_SELECT);
  EXPECT_EQ(number.rangeMin, -1);
  EXPECT_EQ(number.rangeMax, 64);
  EXPECT_EQ(list.getParamInfo("choice").selectionList, (std::vector<std::string>{"x", "y z"}));
  const tstr before = list.getXML();
  list.updateXML();
  EXPECT_EQ(list.getXML(), before) << "the document is in step";
}

TEST(Parameters, TellWhichValueIsNotAllowed) {
  const struct {
    std::string key;
    std::vector<std::string> values;
    std::string fault;  // value and what is allowed, or nothing
  } cases[] = {{"number", {"-1"}, ""},
               {"number", {"64"}, ""},
               {"number", {"-2"}, "-2: -1-64"},
               {"number", {"65"}, "65: -1-64"},
               {"number", {"6x"}, "6x: -1-64"},
               {"number", {""}, ": -1-64"},
               {"number", {"1", "2"}, "1, 2: one value"},
               {"flag", {"false"}, ""},
               {"flag", {"1"}, "1: true, false"},
               {"choice", {"y z"}, ""},
               {"choice", {"x", "q"}, "q: x, y z"},
               {"many", {"-9", "99999999999"}, ""},
               {"many", {"1", ""}, ": a number"},
               {"none", {"v"}, "v: choice, flag, many, number, text"}};
  for (const auto& [key, values, wanted] : cases) {
    const auto fault = parameters().check(valuesOf(key, values));
    EXPECT_EQ(fault ? fault->value + ": " + fault->allowed : "", wanted) << key;
    EXPECT_EQ(fault && fault->isUnknown, key == "none") << key;
  }
}

TEST(Parameters, ReadAsTheirTypes) {
  const CFiParameters all = parameters();
  const CFiConfigParamDataList none;
  EXPECT_EQ(all.text(none, "text"), "a");
  EXPECT_EQ(all.number(none, "number"), 8);
  EXPECT_TRUE(all.flag(none, "flag"));
  EXPECT_EQ(all.text(valuesOf("text", {" b"}), "text"), " b");
  EXPECT_EQ(all.number(valuesOf("number", {"-1"}), "number"), -1);
  EXPECT_FALSE(all.flag(valuesOf("flag", {"false"}), "flag"));
  EXPECT_THROW(all.number(valuesOf("number", {"65"}), "number"), std::invalid_argument);
  EXPECT_THROW(all.text(none, "none"), std::invalid_argument);
  EXPECT_THROW(all.number(none, "text"), std::invalid_argument);
}

}  // namespace

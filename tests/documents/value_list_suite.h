#ifndef ORCA_TESTS_VALUE_LIST_SUITE_H
#define ORCA_TESTS_VALUE_LIST_SUITE_H

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "cfisaxparser.h"

// What parameter values and format options have to do alike. Kind gives the classes as List and
// Handler, the element names as kList and kEntry, and the map of a list as entries(list).
namespace orca_tests {

template <typename Kind>
class ValueList : public testing::Test {
 public:
  static std::string around(const std::string& name, const std::string& children) {
    return "<" + name + ">\n" + children + "</" + name + ">\n";
  }
  static std::string block(const std::string& children) { return around(Kind::kEntry, children); }
  static std::string document(const std::string& blocks) {
    return "<?xml version=\"1.0\" standalone=\"yes\" ?>\n" + around(Kind::kList, blocks);
  }

  void add(const std::string& key, const std::string& value, std::vector<std::string> values) {
    auto& entry = Kind::entries(list)[key];
    entry.key = key;
    entry.value = value;
    entry.valueList = std::move(values);
  }
  std::string xml() const { return list.getXML().c_str(); }

  // XML-legal text without a carriage return.
  std::string randomText() {
    static const std::string kText = "a&amp; \t<>\"'\n]]><!--\x7F</value>";
    const std::string piece = kText.substr(random() % kText.size(), random() % 9);
    return piece + (random() % 2 == 0 ? "\xC3\xA9\xF0\x9F\x98\x80" : "");
  }

  typename Kind::List list;
  std::mt19937 random{20};
};

TYPED_TEST_SUITE_P(ValueList);

TYPED_TEST_P(ValueList, WritesItsEntriesInKeyOrder) {
  EXPECT_EQ(this->xml(), "");
  this->list.updateXML();
  EXPECT_EQ(this->xml(), this->document(""));
  this->add("b&", "hidden", {"1<2", ""});
  this->add("a", "'x'\"", {});
  this->list.updateXML();
  const std::string first =
      this->block("\t<dataType></dataType>\n\t<key>a</key>\n\t<value>&#39;x&#39;&quot;</value>\n");
  EXPECT_EQ(this->xml(),
            this->document(
                first + this->block("\t<dataType></dataType>\n\t<key>b&amp;</key>\n<valueList>\n"
                                    "\t<value>1&lt;2</value>\n\t<value></value>\n</valueList>\n")));
  EXPECT_EQ(this->list.getParamData("a").toXML().c_str(), first);
}

TYPED_TEST_P(ValueList, ReadsBackWhatItWrote) {
  for (int round = 0; round < 100; ++round) {
    const bool isList = round % 2 == 0;
    const std::vector<std::string> values = {this->randomText(), this->randomText()};
    const std::string key = this->randomText();
    this->add(key, isList ? "" : values[0], isList ? values : std::vector<std::string>());
    this->list.updateXML();
    typename TypeParam::List read(this->xml().c_str());
    EXPECT_EQ(read.getXML().c_str(), this->xml());
    EXPECT_EQ(read.getParamData(key.c_str()).value, isList ? "" : values[0]);
    EXPECT_EQ(read.getParamData(key.c_str()).valueList.size(), isList ? 2u : 0u);
  }
}

TYPED_TEST_P(ValueList, ReplacesItsEntriesByThoseOfADocument) {
  this->add("old", "v", {});
  const std::string text = this->document(
      this->block("<key>k</key><value>1</value>") + this->block("<key>k</key><value> 2\n</value>") +
      this->block("<valueList><value>x</value></valueList><value>y</value><Key>n</Key>"));
  EXPECT_EQ(this->list.parse(text.c_str()), 0);
  EXPECT_EQ(TypeParam::entries(this->list).size(), 2u);
  EXPECT_EQ(this->list.getParamData("k").value, " 2\n");
  EXPECT_EQ(this->list.getParamData(nullptr).value, "y");
  EXPECT_EQ(this->list.getParamData("").valueList, std::vector<std::string>{"x"});
  const std::string inStep = this->xml();
  EXPECT_EQ(this->list.parse(this->list.getXML().c_str()), 0);
  EXPECT_EQ(this->xml(), inStep);
}

TYPED_TEST_P(ValueList, KeepsItsEntriesButNotItsTextWhenADocumentIsInError) {
  const std::string garbage = this->document(this->block("<key>k</key>")) + "x";
  const char* const warned = "<?xml version='1.0' encoding='UTF-16'?><a>x</a>";
  this->add("old", "v", {});
  for (const char* bad : {"", garbage.c_str(), warned, static_cast<const char*>(nullptr)}) {
    EXPECT_EQ(this->list.parse(bad), 3);
    EXPECT_EQ(this->xml(), bad == nullptr ? "" : bad);
    EXPECT_EQ(TypeParam::entries(this->list).size(), 1u);
    EXPECT_EQ(this->list.getParamData("old").value, "v");
  }
  this->list.getParamData("none").value = "written by mistake";
  EXPECT_EQ(this->list.getParamData("none").value, "");
  EXPECT_EQ(TypeParam::entries(this->list).size(), 1u);
}

TYPED_TEST_P(ValueList, HandlerChecksNoNestingAndFinishesWithTheList) {
  typename TypeParam::Handler handler;
  orca_pdk_4_4::CFiSaxParser(&handler).parse("<r><key>k</key>" + this->block("") + "</r>");
  EXPECT_FALSE(handler.isFinished());
  EXPECT_EQ(handler.getList().at("k").key, "k");
  orca_pdk_4_4::CFiSaxParser(&handler).parse(this->document(""));
  EXPECT_TRUE(handler.isFinished());
}

REGISTER_TYPED_TEST_SUITE_P(ValueList, WritesItsEntriesInKeyOrder, ReadsBackWhatItWrote,
                            ReplacesItsEntriesByThoseOfADocument,
                            KeepsItsEntriesButNotItsTextWhenADocumentIsInError,
                            HandlerChecksNoNestingAndFinishesWithTheList);

}  // namespace orca_tests

#endif

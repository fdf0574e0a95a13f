#include <gtest/gtest.h>

#include <string>

#include "cficonfighandler.h"
#include "cfiformatoptionhandler.h"
#include "cfisaxparser.h"

namespace {

using namespace orca_pdk_4_4;

struct ConfigValues {
  using List = CFiConfigParamDataList;
  using Handler = CFiConfigParamDataListHandler;
  static constexpr const char* kList = "ConfigValueList";
  static constexpr const char* kEntry = "ConfigValue";
  static auto& entries(List& list) { return list.params; }
};

struct FormatOptions {
  using List = CFiFormatOptionList;
  using Handler = CFiFormatOptionListHandler;
  static constexpr const char* kList = "FormatOptionValueList";
  static constexpr const char* kEntry = "FormatOptionValue";
  static auto& entries(List& list) { return list.options; }
};

// What parameter values and format options have to do alike.
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

  typename Kind::List list;
};

using Kinds = testing::Types<ConfigValues, FormatOptions>;
TYPED_TEST_SUITE(ValueList, Kinds);

TYPED_TEST(ValueList, WritesItsEntriesInKeyOrder) {
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

TYPED_TEST(ValueList, ReadsBackWhatItWrote) {
  const std::string hard =
      std::string(" a&amp;\t<>\"'\n]]><!--\x7F</value>\xC3\xA9\xF0\x9F\x98\x80\n") +
      std::string(5000, '"');
  this->add(hard, hard, {});
  this->add("list", "", {hard, ""});
  this->list.updateXML();
  typename TypeParam::List read(this->xml().c_str());
  EXPECT_EQ(read.getXML().c_str(), this->xml());
  EXPECT_EQ(read.getParamData(hard.c_str()).value, hard);
  EXPECT_EQ(read.getParamData("list").valueList, std::vector<std::string>({hard, ""}));
}

TYPED_TEST(ValueList, ReplacesItsEntriesByThoseOfADocument) {
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

TYPED_TEST(ValueList, KeepsItsEntriesWhenADocumentIsInError) {
  const std::string garbage = this->document(this->block("<key>k</key>")) + "x";
  const char* const warned = "<?xml version='1.0' encoding='UTF-16'?><a>x</a>";
  this->add("old", "v", {});
  for (const char* bad : {"", garbage.c_str(), warned, static_cast<const char*>(nullptr)}) {
    SCOPED_TRACE(bad == nullptr ? "null" : bad);
    EXPECT_EQ(this->list.parse(bad), 3);
    EXPECT_EQ(this->xml(), bad == nullptr ? "" : bad) << "the text is the one given";
    EXPECT_EQ(TypeParam::entries(this->list).size(), 1u);
    EXPECT_EQ(this->list.getParamData("old").value, "v");
  }
}

TYPED_TEST(ValueList, AnswersUnknownKeysWithAnEntryThatItDoesNotKeep) {
  this->list.getParamData("none").value = "written by mistake";
  EXPECT_EQ(this->list.getParamData("none").value, "");
  EXPECT_EQ(TypeParam::entries(this->list).size(), 0u);
}

TYPED_TEST(ValueList, HandlerChecksNoNesting) {
  typename TypeParam::Handler handler;
  CFiSaxParser(&handler).parse("<r><key>k</key>" + this->block("") + "</r>");
  EXPECT_FALSE(handler.isFinished());
  EXPECT_EQ(handler.getList().count("k"), 1u);
}

TYPED_TEST(ValueList, HandlerFinishesWithTheList) {
  typename TypeParam::Handler handler;
  CFiSaxParser(&handler).parse(this->document(""));
  EXPECT_TRUE(handler.isFinished());
}

// Nested elements take the same text again and again.
TYPED_TEST(ValueList, StoresAtMost16TimesTheLengthAnd16MiBOfADocument) {
  const auto nested = [this](size_t size) {
    std::string text;
    for (int i = 0; i < 100; ++i) text += "<value>";
    text.append(size, 'x');
    for (int i = 0; i < 100; ++i) text += "</value>";
    return this->block("<valueList>" + text + "</valueList>");
  };
  const size_t most = 16 * (nested(0).size() + (1 << 20)) / (100 - 16);
  EXPECT_EQ(this->list.parse(nested(most).c_str()), 0);
  EXPECT_EQ(this->list.getParamData("").valueList.back().size(), most);
  EXPECT_EQ(this->list.parse(nested(most + 1).c_str()), 3);
  typename TypeParam::Handler handler;
  CFiSaxParser parser(&handler);
  for (int document = 0; document < 2; ++document) parser.parse(nested(most));
  EXPECT_FALSE(handler.isErrorSeen()) << "each document counts by itself";
  parser.parse(nested(most + 1));
  ASSERT_TRUE(handler.isErrorSeen());
  EXPECT_EQ(handler.getSavedError()->getLineNumber(), 2u);
}

}  // namespace

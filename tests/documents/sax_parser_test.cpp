#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <xercesc/util/XMLString.hpp>

#include "cfisaxhandler.h"
#include "cfisaxparser.h"
#include "cfixstringtool.h"
#include "support/temp_dir.h"

namespace {

using namespace orca_pdk_4_4;
using xercesc::SAXParseException;

// Keeps the text of the element that ended last.
struct TextHandler : CFiSaxParseHandler {
  void startElement(const XMLCh*, const XMLCh*, const XMLCh*, const xercesc::Attributes&) override {
    clearText();
  }
  void endElement(const XMLCh*, const XMLCh*, const XMLCh*) override { last = text(); }
  using CFiSaxParseHandler::throwSavedError;

  std::string last;
};

TEST(SaxParser, JoinsTheTextOfAnElementInOrder) {
  TextHandler handler;
  CFiSaxParser parser(&handler);
  parser.parse("<a>1&amp;2<![CDATA[<3>]]>4<!-- x -->5&#x1F600;\xC3\xA9</a>");
  EXPECT_EQ(handler.last, "1&2<3>45\xF0\x9F\x98\x80\xC3\xA9");
  parser.parse("<a>lost<b/> kept\n</a>");
  EXPECT_EQ(handler.last, " kept\n");
  std::string text = "x";  // an odd start: the reader's pieces end inside pairs
  while (text.size() < (5u << 20)) text += "\xF0\x9F\x98\x80";
  parser.parse({"<a>", text, "</a>"});
  const auto differing =
      std::mismatch(text.begin(), text.end(), handler.last.begin(), handler.last.end());
  EXPECT_EQ(differing.first - text.begin(), std::ssize(text));
  EXPECT_EQ(handler.last.size(), text.size());
}

TEST(SaxParser, IsUsedAgainAfterADocumentInError) {
  CFiSaxParser parser;
  for (const char* bad : {"", "<a/>x", "<!DOCTYPE a [<!ENTITY % p '&#38;e;'>%p;]><a/>"}) {
    SCOPED_TRACE(bad);
    parser.setHandler(nullptr);
    EXPECT_NO_THROW(parser.parse(std::string(bad)));
    TextHandler handler;
    parser.setHandler(&handler);
    parser.parse(std::string(bad));
    EXPECT_THROW(handler.throwSavedError(), SAXParseException);
    TextHandler next;
    parser.setHandler(&next);
    parser.parse(std::string("<a>good</a>"));
    EXPECT_EQ(next.last, "good");
    EXPECT_FALSE(next.isErrorSeen());
  }
}

TEST(SaxHandler, RaisesTheLastErrorWhenItCarriesAMessage) {
  const CFiSaxParser parser;  // starts the platform, which exceptions need
  const XMLCh id[] = u"id";
  TextHandler handler;
  handler.warning(SAXParseException(u"", id, id, 1, 1));
  EXPECT_TRUE(handler.isErrorSeen());
  EXPECT_NO_THROW(handler.throwSavedError());
  handler.fatalError(SAXParseException(u"first", id, id, 1, 1));
  handler.error(SAXParseException(u"last", id, id, 7, 8));
  EXPECT_THROW(handler.throwSavedError(), SAXParseException);
  EXPECT_EQ(handler.getSavedError()->getLineNumber(), 7u);
}

class SchemaTest : public testing::Test {
 public:
  SchemaTest() {
    orca_tests::writeFile(dir.file("a.xsd"),
                          "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema'>"
                          "<xs:element name='a' type='xs:int'/></xs:schema>");
  }
  std::string read(const char* schema, const std::string& document) {
    TextHandler handler;
    CFiSaxParser(&handler, dir.file(schema).c_str()).parse(document);
    return handler.last + (handler.isErrorSeen() ? " refused" : "");
  }

  const orca_tests::TempDir dir;
};

TEST_F(SchemaTest, IsWhatDocumentsAreValidatedAgainst) {
  EXPECT_EQ(read("a.xsd", "<a>12</a>"), "12");
  EXPECT_EQ(read("a.xsd", "<a>twelve</a>"), "twelve refused");
  EXPECT_EQ(read("missing.xsd", "<a>12</a>"), "12 refused");
}

TEST_F(SchemaTest, OpensNoOtherFile) {
  orca_tests::writeFile(dir.file("secret"), "7");
  const std::string entity = "<!ENTITY e SYSTEM '" + dir.file("secret") + "'>";
  EXPECT_EQ(read("a.xsd", "<!DOCTYPE a [" + entity + "]><a>&e;</a>"), " refused");
}

TEST_F(SchemaTest, OpensNoEntityThatCouldMakeTheDocumentGrow) {
  EXPECT_EQ(read("a.xsd", "<!DOCTYPE a [<!ENTITY % e '&#38;e;'>%e;]><a>1</a>"), " refused");
}

TEST(XStringTool, ConvertsBothWays) {
  const XMLCh lone[] = {'a', 0xD800, 0};
  const std::pair<const XMLCh*, const char*> cases[] = {
      {u"\u00E9\U0001F600x", "\xC3\xA9\xF0\x9F\x98\x80x"}, {u"", ""}, {lone, ""}, {nullptr, ""}};
  for (const auto& [wide, narrow] : cases) {
    SCOPED_TRACE(narrow);
    const std::unique_ptr<char, void (*)(void*)> text(CFiXStringTool::asciiForm(wide), std::free);
    EXPECT_STREQ(text.get(), narrow);
  }
  XMLCh* wide = CFiXStringTool::unicodeForm(cases[0].second);
  EXPECT_EQ(std::u16string(wide), cases[0].first);
  xercesc::XMLString::release(&wide);
}

}  // namespace

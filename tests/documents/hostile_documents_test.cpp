#include <gtest/gtest.h>
#include <sys/stat.h>

#include "cficonfighandler.h"
#include "cfisaxparser.h"
#include "support/temp_dir.h"

namespace {

std::string repeated(const std::string& piece, size_t count) {
  std::string text;
  while (count-- > 0) text += piece;
  return text;
}

// The value stands in line 3, from column 50 on.
std::string document(const std::string& value, const std::string& declarations = "") {
  return "<!DOCTYPE a [\n" + declarations +
         "]>\n<ConfigValueList><ConfigValue><key>k</key><value>" + value +
         "</value></ConfigValue></ConfigValueList>";
}

std::string entity(int number, const std::string& text) {
  return "<!ENTITY l" + std::to_string(number) + " '" + text + "'>";
}

// Entities that refer so many times to the one before each; the last is &l<levels - 1>;.
std::string chain(int levels, size_t times, const std::string& first = "x") {
  std::string text = entity(0, first);
  for (int level = 1; level < levels; ++level) {
    text += entity(level, repeated("&l" + std::to_string(level - 1) + ";", times));
  }
  return text;
}

// The value read, or "refused".
std::string valueOf(const std::string& text) {
  orca_pdk_4_4::CFiConfigParamDataList list;
  const int result = list.parse(text.c_str());
  return result == 0 ? list.getParamData("k").value : result == 3 ? "refused" : "wrong result";
}

// The place of the error: "line:column", or "taken".
std::string placeOfError(const std::string& text) {
  orca_pdk_4_4::CFiConfigParamDataListHandler handler;
  orca_pdk_4_4::CFiSaxParser(&handler).parse(text);
  const xercesc::SAXParseException* error = handler.getSavedError();
  if (error == nullptr) return "taken";
  return std::to_string(error->getLineNumber()) + ":" + std::to_string(error->getColumnNumber());
}

TEST(HostileDocument, IsRefusedTruncatedAtAnyByte) {
  const std::string whole = document("v&amp;<![CDATA[x]]>\xC3\xA9", "<!ENTITY e 'x'>");
  for (size_t length = 0; length < whole.size(); ++length) {
    EXPECT_EQ(valueOf(whole.substr(0, length)), "refused") << length;
  }
  EXPECT_EQ(valueOf(whole), "v&x\xC3\xA9");
}

TEST(HostileDocument, ReadsNoFileAndNoAddress) {
  const orca_tests::TempDir dir;
  const std::string secret = dir.file("secret");
  const std::string fifo = dir.file("fifo");  // whoever opens it waits for ever
  orca_tests::writeFile(secret, "SECRET");
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  for (const std::string& id : {secret, "file://" + secret, fifo, "file://" + fifo,
                                std::string("http://127.0.0.1:9/x"), std::string("/dev/zero")}) {
    const std::string system = "e SYSTEM '" + id + "'>";
    EXPECT_EQ(valueOf(document("&e;", "<!ENTITY " + system)), "refused") << id;
    EXPECT_EQ(valueOf(document("v", "<!ENTITY " + system)), "v") << id;
    EXPECT_EQ(valueOf(document("v", "<!ENTITY % " + system)), "v") << id;
    EXPECT_EQ(valueOf(document("v", "<!ENTITY % " + system + "%e;")), "refused") << id;
    EXPECT_EQ(valueOf("<!DOCTYPE a SYSTEM '" + id + "'><a/>"), "") << id;
  }
}

TEST(DocumentType, IsHarmlessWhileNothingInItGrows) {
  const std::string longest(4096, 'x');
  const std::string attribute = "<!ATTLIST value a CDATA 'd&lt;&#65;' b ENTITY #IMPLIED>";
  const struct {
    const char* what;
    std::string value, declarations, read;
  } cases[] = {
      {"an unused parameter entity", "v", "<!ENTITY % p 'x'>", "v"},
      {"the longest parameter entity used", "&l0;",
       "<!ENTITY % p \"" + entity(0, std::string(33, 'x')) + "\">%p;%p;", std::string(33, 'x')},
      {"unused text beyond every bound", "v", entity(0, std::string(100000, 'x')), "v"},
      {"unused entities that make each other grow", "v", chain(70, 10), "v"},
      {"attributes behind an entity", "&l0;", entity(0, "x") + attribute, "x"},
      {"an entity declared twice", "&l0;", entity(0, "x") + entity(0, "y&none;"), "x"},
      {"the longest entity", "&l0;", entity(0, longest), longest},
      {"an entity in an attribute", "<b c='&l0;'/>", entity(0, "x"), ""},
      {"entities in 64 levels", "&l64;", chain(65, 1), "x"},
  };
  for (const auto& [what, value, declarations, read] : cases) {
    EXPECT_EQ(valueOf(document(value, declarations)), read) << what;
  }
}

TEST(DocumentType, IsRefusedWhereItCouldMakeTheDocumentGrow) {
  const std::string tooLong = entity(0, std::string(4097, 'x'));
  const struct {
    const char* what;
    std::string value, declarations, place;
  } cases[] = {
      {"a parameter entity that is too long", "v",
       "<!ENTITY % p \"" + entity(0, std::string(34, 'x')) + "\">\n%p;", "3:4"},
      {"a parameter entity that refers to another", "v",
       "<!ENTITY % p ''><!ENTITY % q '&#37;p;'>\n%q;", "3:4"},
      {"an entity in an attribute default", "v", entity(0, "") + "\n<!ATTLIST b a CDATA '&l0;'>",
       "3:26"},
      {"an entity that is too long", "&l0;", tooLong, "3:54"},
      {"an entity too long for an attribute", "<b c='&l0;'/>", tooLong, "3:60"},
      {"entities in 65 levels", "&l65;", chain(66, 1), "3:55"},
      {"more than a billion expansions", "&l29;", chain(30, 10), "3:55"},
      {"more than a billion expansions of nothing", "<b a='&l29;'/>", chain(30, 10, ""), "3:61"},
      {"entities of each other", "&l1;", entity(0, "&l1;") + entity(1, "&l0;"), "3:54"},
  };
  for (const auto& [what, value, declarations, place] : cases) {
    EXPECT_EQ(placeOfError(document(value, declarations)), place) << what;
    EXPECT_EQ(valueOf(document(value, declarations)), "refused") << what;
  }
}

constexpr size_t kMiB = 1 << 20;

TEST(DocumentType, MayBeUsedForGrowthBy16TimesTheLengthAnd16MiB) {
  size_t count = 4096;
  while (count * 4096 <= 16 * (document(repeated("&l0;", count), entity(0, "x")).size() + kMiB)) {
    ++count;
  }
  EXPECT_EQ(valueOf(document(repeated("&l0;", count - 1), entity(0, "x"))).size(), count - 1);
  EXPECT_EQ(valueOf(document(repeated("&l0;", count), entity(0, "x"))), "refused");
}

TEST(DocumentType, MayRepeatAttributesBy16TimesTheLengthAnd16MiB) {
  const auto with = [](size_t size) {
    return document(repeated("<b/>", 1000),
                    "<!ATTLIST b a CDATA '" + std::string(size, 'x') + "'>");
  };
  const size_t most = (16 * (with(0).size() + kMiB) - 1000) / (1000 - 16);
  EXPECT_EQ(placeOfError(with(most)), "taken");
  EXPECT_EQ(placeOfError(with(most + 1)), "3:4050") << "at the last element";
  EXPECT_EQ(placeOfError(document(repeated("<b c=''/>", 100000),
                                  "<!ATTLIST b a CDATA '" + std::string(65536, 'x') + "'>"))
                .substr(0, 2),
            "3:");
}

TEST(HostileDocument, MayNestDeeply) {
  const std::string open = repeated("<a>", 100000);
  EXPECT_EQ(valueOf(open + repeated("</a>", 100000)), "");
  EXPECT_EQ(valueOf(open), "refused");
}

TEST(HostileDocument, MayBeLarge) {
  const std::string read = valueOf(document(std::string(50u << 20, 'v')));
  EXPECT_EQ(read.find_first_not_of('v'), std::string::npos);
  EXPECT_EQ(read.size(), 50u << 20);
}

TEST(HostileDocument, IsRefusedWithTextThatIsNotXml) {
  for (const char* bad : {"\x01", "\xC3(", "\xC0\x80", "\xED\xA0\x80", "\xFF", "\xEF\xBF\xBE",
                          "&#xD800;", "&#0;", "&none;", "&", "<", "]]>", "<a b='1' b='2'/>"}) {
    EXPECT_EQ(valueOf(document(bad)), "refused") << bad;
  }
  EXPECT_EQ(valueOf(document("1\r\n2\r3")), "1\n2\n3");
}

}  // namespace

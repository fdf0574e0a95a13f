#include <gtest/gtest.h>
#include <sys/stat.h>

#include "cficonfig.h"
#include "support/temp_dir.h"

namespace {

std::string repeated(const std::string& piece, size_t count) {
  std::string text;
  while (count-- > 0) text += piece;
  return text;
}

std::string document(const std::string& value, const std::string& declarations = "") {
  return "<!DOCTYPE a [" + declarations + "]><ConfigValueList><ConfigValue><key>k</key><value>" +
         value + "</value></ConfigValue></ConfigValueList>";
}

// Entities that refer to ten of the entity before each.
std::string bomb(int levels) {
  std::string text = "<!ENTITY l0 'lol'>";
  for (int level = 1; level < levels; ++level) {
    const std::string before = "&l" + std::to_string(level - 1) + ";";
    text += "<!ENTITY l" + std::to_string(level) + " '" + repeated(before, 10) + "'>";
  }
  return text;
}

// The value read, or "refused".
std::string valueOf(const std::string& text) {
  orca_pdk_4_4::CFiConfigParamDataList list;
  const int result = list.parse(text.c_str());
  return result == 0 ? list.getParamData("k").value : result == 3 ? "refused" : "wrong result";
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
    EXPECT_EQ(valueOf(document("v", "<!ENTITY % " + system + "%e;")), "refused") << id;
    EXPECT_EQ(valueOf("<!DOCTYPE a SYSTEM '" + id + "'><a/>"), "") << id;
  }
}

TEST(HostileDocument, ExpandsEntitiesWithinBounds) {
  EXPECT_EQ(valueOf(document("&l1;&l0;", bomb(2))), repeated("lol", 11));
  const std::string big = "<!ENTITY e '" + std::string(100000, 'x') + "'>";
  for (const std::string& text :
       {document("&l29;", bomb(30)), document("<b a='&l29;'/>", bomb(30)),
        document("v", bomb(30) + "<!ATTLIST b a CDATA '&l29;'>"),
        document("&e;", "<!ENTITY e '&f;'><!ENTITY f '&e;'>"),
        document(repeated("&e;", 1001), "<!ENTITY e 'x'>"), document(repeated("&e;", 900), big)}) {
    EXPECT_EQ(valueOf(text), "refused") << text.substr(0, 200);
  }
}

TEST(HostileDocument, MayNestDeeplyAndBeLarge) {
  const std::string open = repeated("<a>", 100000);
  EXPECT_EQ(valueOf(open + repeated("</a>", 100000)), "");
  EXPECT_EQ(valueOf(open), "refused");
  const std::string large(50u << 20, 'v');
  EXPECT_TRUE(valueOf(document(large)) == large);
}

TEST(HostileDocument, IsRefusedWithTextThatIsNotXml) {
  for (const char* bad : {"\x01", "\xC3(", "\xC0\x80", "\xED\xA0\x80", "\xFF", "\xEF\xBF\xBE",
                          "&#xD800;", "&#0;", "&none;", "&", "<", "]]>", "<a b='1' b='2'/>"}) {
    EXPECT_EQ(valueOf(document(bad)), "refused") << bad;
  }
  EXPECT_EQ(valueOf(document("1\r\n2\r3")), "1\n2\n3");
}

}  // namespace

#include <gtest/gtest.h>

#include <malloc.h>

#include <cstdlib>

#include "cfimsgcatalogmgr.h"
#include "support/temp_dir.h"

namespace {

using namespace orca_pdk_4_4;

struct Factory : CFiIcuMessageCatalogFactory {
  using CFiIcuMessageCatalogFactory::CFiIcuMessageCatalogFactory;
  CFiMessageCatalogPtr createCatalog(const std::string& language) override {
    asked += " " + language;
    if (language == "none") return CFiMessageCatalogPtr();
    return CFiIcuMessageCatalogFactory::createCatalog(language);
  }
  std::string asked;
};

// An install root with a catalog "demo", built by genrb. Each test has its own: ICU remembers
// bundles, and missing ones, by their path.
struct Catalog : testing::Test {
  void SetUp() override {
    UErrorCode status = U_ZERO_ERROR;
    icu::Locale::setDefault(icu::Locale::getRoot(), status);
    std::filesystem::create_directories(folder);
    for (const std::string text : {R"(root { HELLO { "hello" } ROOT { "only root" } })",
                                   R"(en { HELLO { "good day" } SAME { "good day" } })",
                                   R"(de { HELLO { "guten Tag" } })"}) {
      const std::string source = root.file(text.substr(0, text.find(' ')) + ".txt");
      orca_tests::writeFile(source, text);
      ASSERT_EQ(std::system(("genrb -q -d " + folder.string() + " " + source).c_str()), 0);
    }
  }
  // The result of init and a text.
  static std::string opened(const char* language, const char* id = "HELLO",
                            const char* defaultText = nullptr) {
    CFiIcuMessageCatalog catalog(language, "demo");
    const int result = catalog.init();
    return std::to_string(result) + " " + catalog.getMessage(id, defaultText).c_str();
  }
  char* localized(const char* id, const char* language) {
    char* text = nullptr;
    manager.getLocalizedMessage(id, language, &text);
    return text;
  }

  orca_tests::TempDir root;
  std::filesystem::path folder = root.path() / "resources/libdemo";
  orca_tests::ScopedEnv env{"ORCA_INSTALL_ROOT", root.str().c_str()};
  Factory factory{"demo", "en"};
  CFiMessageCatalogManager manager;
};

// The install root again, at a path that ICU does not know yet, with other content in one bundle.
struct CopyWith {
  CopyWith(const orca_tests::TempDir& from, const std::string& name, const std::string& content) {
    std::filesystem::copy(from.path(), root.path(), std::filesystem::copy_options::recursive);
    orca_tests::writeFile(root.path() / "resources/libdemo" / name, content);
  }
  orca_tests::TempDir root;
  orca_tests::ScopedEnv env{"ORCA_INSTALL_ROOT", root.str().c_str()};
};

TEST_F(Catalog, HasTheTextsNearestToItsLanguage) {
  EXPECT_EQ(opened("de"), "0 demo: guten Tag");
  EXPECT_EQ(opened("xx"), "0 demo: hello") << "unknown: the root texts";
  EXPECT_EQ(opened("en_US"), "3 demo: good day") << "reported, yet it serves";
  EXPECT_EQ(opened("de", "ROOT"), "0 demo: only root");
  EXPECT_EQ(opened("de", "GONE", "default"), "0 default");
  EXPECT_EQ(opened("de", "GONE"), "0 demo: <GONE>");
}

TEST_F(Catalog, TakesAnyTextForALanguage) {
  UErrorCode status = U_ZERO_ERROR;
  icu::Locale::setDefault(icu::Locale("en"), status);
  for (const char* language : {"xx", "/usr/share/locale/de_DE", "de/../en", "../libdemo/de", "@",
                               "a-language-that-is-longer-than-any"}) {
    EXPECT_EQ(opened(language), "0 demo: good day") << language;
  }
}

TEST_F(Catalog, GoesOnWithoutABundleThatIsNone) {
  for (const std::string& content : {std::string(), std::string("cut"), std::string(5000, 'x')}) {
    const CopyWith copy(root, "de.res", content);
    EXPECT_EQ(opened("de"), "0 demo: hello") << content.substr(0, 5);
  }
}

TEST_F(Catalog, TakesABundleThatIsCutAtAnyByteForAbsent) {
  const orca_tests::TempDir temporary;
  const orca_tests::ScopedEnv place("TMPDIR", temporary.str().c_str());
  for (const std::string name : {"de.res", "root.res"}) {
    const std::string whole = orca_tests::readFile(folder / name);
    for (std::size_t length = 0; length < whole.size(); ++length) {
      const CopyWith copy(root, name, whole.substr(0, length));
      EXPECT_EQ(opened("de_AT"), name == "de.res" ? "0 demo: hello" : "3 demo: guten Tag")
          << length;
      EXPECT_EQ(opened("en"), "0 demo: good day") << name << length;
    }
  }
  EXPECT_TRUE(std::filesystem::is_empty(temporary.path())) << "nothing is left behind";
}

TEST_F(Catalog, ThatIsMissingAnswersThree) {
  std::filesystem::remove_all(folder);
  EXPECT_EQ(opened("en", "HELLO", "default"), "3 default");
  manager.registerFactory(&factory);
  EXPECT_STREQ(localized("HELLO", "de"), "<HELLO>");
}

TEST_F(Catalog, IsNotKeptForEveryTextThatNamesALanguage) {
  manager.registerFactory(&factory);
  const auto askFor = [this](int count, const std::string& start) {
    for (int i = 0; i < count; ++i) localized("HELLO", (start + std::to_string(i)).c_str());
    return mallinfo2().uordblks;
  };
  const std::size_t before = askFor(1500, "de_");
  EXPECT_LT(askFor(1500, "x"), before + 100000);
  EXPECT_STREQ(localized("HELLO", "none"), "demo: good day") << "the default one stays";
}

TEST_F(Catalog, IsChosenByLanguage) {
  EXPECT_STREQ(localized("HELLO", "de"), "<HELLO>") << "no factory yet";
  manager.registerFactory(&factory);
  EXPECT_STREQ(localized("HELLO", nullptr), "demo: good day");
  EXPECT_STREQ(localized("HELLO", "de_AT"), "demo: guten Tag");
  manager.setNativeLanguage("de");
  EXPECT_STREQ(localized("HELLO", "native"), "demo: guten Tag");
  EXPECT_STREQ(localized("HELLO", "none"), "demo: good day") << "the default stands in";
  EXPECT_EQ(factory.asked, " en de_AT de none") << "each is made once";
}

TEST_F(Catalog, TakesBackOnlyWhatItHandedOut) {
  manager.registerFactory(&factory);
  char strange[] = "never handed out", *unknown = strange, *none = strange;
  manager.getLocalizedMessage(static_cast<pyx_msg_info*>(nullptr), "en", &none);
  char *hello = localized("HELLO", "en"), *twin = localized("SAME", "en");
  for (char** text : {&twin, &twin, &unknown, static_cast<char**>(nullptr)}) {
    manager.deleteLocalizedMessage(text);
  }
  EXPECT_EQ(none, nullptr);
  EXPECT_EQ(twin, nullptr);
  EXPECT_EQ(unknown, strange);
  EXPECT_STREQ(hello, "demo: good day") << "its twin was taken back";
}

}  // namespace

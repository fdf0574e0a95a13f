#include <gtest/gtest.h>

#include "catalog/faults.h"
#include "support/temp_dir.h"

namespace {

using namespace fihost::catalog;
using Sources = std::vector<std::pair<std::string, std::string>>;

// What is wrong with sources of those names, a line each.
std::string faults(const Sources& sources) {
  const orca_tests::TempDir folder;
  std::vector<Fault> found;
  std::vector<Source> read;
  for (const auto& [name, text] : sources) {
    orca_tests::writeFile(folder.file(name), text);
    read.push_back(readSource(folder.file(name), found));
  }
  if (found.empty()) found = faultsOf(read);
  std::string text;
  for (const Fault& fault : found) {
    text += fault.file + ":" + std::to_string(fault.line) + ": " + fault.sentence + "\n";
  }
  const std::string prefix = folder.str() + "/";
  for (std::size_t at; (at = text.find(prefix)) != text.npos;) text.erase(at, prefix.size());
  return text;
}

const std::pair<std::string, std::string> kRoot = {
    "root.txt",
    "// comment {\nroot:table {\n  M_A { \"it''s {0}, \\\"{1,number}\\\"\" }\n"
    "  M_B:string {\n    \"one \" /* \" */ \"text\"\n  }\n}\n"};

TEST(CatalogSources, AreFoundInOrder) {
  EXPECT_EQ(faults({kRoot,
                    {"de.txt",
                     "\xEF\xBB\xBF"
                     "de {\n  M_A { \"{1} {0} it's\" }\n  M_B { \"\" }\n}"}}),
            "");
}

TEST(CatalogSources, AreFaultyWithFileAndLine) {
  const struct {
    std::string de, faults;
  } cases[] = {
      {"de { M_A { \"{0}{1}\" } }", "de.txt:1: it lacks M_B of root.txt\n"},
      {"de { M_A { \"{0}{1}\" } M_B { \"\" }\n\nM_C { \"\" } }",
       "de.txt:3: M_C is not in root.txt\n"},
      {"fr { M_A { \"{0}{1}\" } M_B { \"\" } }", "de.txt:1: the table is named fr, not de\n"},
      {"de {\n M_A { \"{0}{2}\" } M_B { \"\" } }",
       "de.txt:2: M_A has {0}, {2}, and in root.txt {0}, {1}\n"},
      {"de { M_B { \"\" }\n M_A { \"{1} '{0}'\" } }",
       "de.txt:2: M_A: an apostrophe makes an argument plain text (it has {0}, {1}, and {1} are "
       "filled in); write '' for an apostrophe\n"},
      {"de { M_B { \"\" } M_A { \"{0} {1\" } }",
       "de.txt:1: M_A is no message pattern: \"{0} {1\"\n"},
      {"de { M_A { \"{0}{1}\" }\nM_A { \"{0}{1}\" } M_B { \"\" } }",
       "de.txt:2: M_A is there twice\n"},
      {"de {\n M_A { 7 } }", "de.txt:2: M_A is no quoted text between \"{\" and \"}\"\n"},
      {"de {\n M_A { \"x\"", "de.txt:2: M_A is no quoted text between \"{\" and \"}\"\n"},
      {"de { M_A { \"{0}{1}\" }\n { }", "de.txt:2: a message id is missing\n"},
      {"", "de.txt:1: a table begins with the name of its language and \"{\"\n"}};
  for (const auto& [de, expected] : cases) {
    EXPECT_EQ(faults({kRoot, {"de.txt", de}}), expected) << de;
  }
}

TEST(CatalogSources, NeedARoot) {
  EXPECT_EQ(faults({{"de.txt", "de { M_A { \"x\" } }"}}),
            "de.txt:1: there is no root.txt beside it, whose texts stand in for others\n");
}

}  // namespace

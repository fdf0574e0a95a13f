#include <gtest/gtest.h>

#include "cfiexecpipe.h"

namespace {

class Parser : public orca_pdk::CFiExecPipePosix {
 public:
  Parser() : CFiExecPipePosix(0) {}
  // The arguments, each with "|" behind it; "refused" when the text cannot be split.
  std::string split(const char* text) {
    if (!ParseCommand(text)) return "refused";
    std::string all;
    for (char* const* next = getArguments(); *next != nullptr; ++next)
      all += *next + std::string("|");
    return all;
  }
};

TEST(CommandText, IsSplitIntoWords) {
  const char* cases[][2] = {
      {" \ta \t b\t", "a|b|"},
      {R"('a b'"c d"e)", "a bc de|"},
      {R"(a\ b)", "a b|"},
      {R"(\'\"\\)", R"('"\|)"},
      {R"("a'b\c\" 'x"y\')", R"(a'b\c\|x"y\|)"},
      {"'' \"\"", "||"},
      {"a\nb", "a\nb|"},
      {"# b; d > $f *", "#|b;|d|>|$f|*|"},
      {"1 2 3 4 5 6 7 8 9 10 11", "1|2|3|4|5|6|7|8|9|10|11|"},
  };
  for (const auto& [text, arguments] : cases) EXPECT_EQ(Parser().split(text), arguments) << text;
}

TEST(CommandText, IsRefusedWithoutAnEnd) {
  for (const char* text : {"", " \t ", "'", "a 'b", "a \"b'", "a\\", "'a' b\\"}) {
    EXPECT_EQ(Parser().split(text), "refused") << text;
  }
}

}  // namespace

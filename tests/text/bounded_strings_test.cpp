#include "V_strings.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <string>

extern "C" int linkageFailure();

// AddressSanitizer would end the program where a test wants an allocation to fail.
extern "C" __attribute__((visibility("default"))) const char* __asan_default_options() {
  return "allocator_may_return_null=1";
}

namespace {

constexpr uint32_t kFailed = 0xFFFFFFFF;

template <class C, auto Lcpy, auto Lcat, auto Lncpy, auto Lncat, auto Verify>
struct Functions {
  using Char = C;
  static constexpr auto lcpy = Lcpy;
  static constexpr auto lcat = Lcat;
  static constexpr auto lncpy = Lncpy;
  static constexpr auto lncat = Lncat;
  static constexpr auto verify = Verify;
};
using Narrow = Functions<char, V_strlcpy, V_strlcat, V_strlncpy, V_strlncat, V_strverify>;
using Wide = Functions<wchar_t, V_wcslcpy, V_wcslcat, V_wcslncpy, V_wcslncat, V_wstrverify>;

// A buffer of characters of either form, filled with '#' behind its text.
template <class Form>
class BoundedStrings : public testing::Test {
 protected:
  using Char = typename Form::Char;
  using String = std::basic_string<Char>;

  static String wide(const std::string& text) { return String(text.begin(), text.end()); }

  Char* holding(const std::string& text) {
    m_buffer = wide(text + '\0' + std::string(16 - text.size(), '#'));
    return m_buffer.data();
  }
  // What the buffer holds, terminators shown as '.'.
  std::string shown(size_t count) const {
    std::string text(m_buffer.begin(), m_buffer.begin() + static_cast<std::ptrdiff_t>(count));
    for (char& c : text) c = c == '\0' ? '.' : c;
    return text;
  }

  String m_buffer;
};

using Forms = testing::Types<Narrow, Wide>;
TYPED_TEST_SUITE(BoundedStrings, Forms);

// What a call on a buffer with the old text must return and leave.
struct Case {
  const char* old;
  size_t n, size, result;
  const char* left;
};

TYPED_TEST(BoundedStrings, CopyAndConcatenateWhatFitsAndReturnTheNumberOfCharacters) {
  const auto source = this->wide("xyz");
  const Case copies[] = {{"", 0, 0, 0, ".####"},
                         {"", 0, 1, 0, ".####"},
                         {"", 0, 2, 1, "x.###"},
                         {"", 0, 9, 3, "xyz.#"}};
  for (const Case& c : copies) {
    EXPECT_EQ(TypeParam::lcpy(this->holding(c.old), source.c_str(), c.size), c.result) << c.size;
    EXPECT_EQ(this->shown(5), c.left) << c.size;
  }
  const Case additions[] = {{"", 0, 1, 0, ".#####"},   {"", 0, 2, 1, "x.####"},
                            {"ab", 0, 2, 0, "ab.###"}, {"ab", 0, 3, 0, "ab.###"},
                            {"ab", 0, 4, 1, "abx.##"}, {"ab", 0, 9, 3, "abxyz."}};
  for (const Case& c : additions) {
    EXPECT_EQ(TypeParam::lcat(this->holding(c.old), source.c_str(), c.size), c.result) << c.left;
    EXPECT_EQ(this->shown(6), c.left);
  }
}

TYPED_TEST(BoundedStrings, CopyAFieldPaddedWithZerosAndConcatenateAtMostNCharacters) {
  const auto source = this->wide("xyz");
  const Case fields[] = {{"", 8, 16, 8, "xyz......#"}, {"", 2, 16, 2, "xy.#######"},
                         {"", 3, 3, 2, "xy.#######"},  {"", 9, 2, 1, "x.########"},
                         {"", 0, 4, 0, ".#########"},  {"", 5, 5, 4, "xyz..#####"}};
  for (const Case& c : fields) {
    EXPECT_EQ(TypeParam::lncpy(this->holding(""), source.c_str(), c.n, c.size), c.result);
    EXPECT_EQ(this->shown(10), c.left);
  }
  const Case additions[] = {{"ab", 0, 9, 0, "ab.###"}, {"ab", 2, 9, 2, "abxy.#"},
                            {"ab", 7, 9, 3, "abxyz."}, {"ab", SIZE_MAX, 9, 3, "abxyz."},
                            {"ab", 3, 4, 1, "abx.##"}, {"ab", 3, 2, 0, "ab.###"}};
  for (const Case& c : additions) {
    EXPECT_EQ(TypeParam::lncat(this->holding("ab"), source.c_str(), c.n, c.size), c.result);
    EXPECT_EQ(this->shown(6), c.left);
  }
}

TYPED_TEST(BoundedStrings, AnswerNullPointersAndASizeOfNothingWithZero) {
  const auto source = this->wide("abc");
  auto* buffer = this->holding("");
  typename TypeParam::Char* const none = nullptr;
  const auto plain = {TypeParam::lcpy, TypeParam::lcat};
  const auto counted = {TypeParam::lncpy, TypeParam::lncat};
  for (const auto f : plain) EXPECT_EQ(f(none, source.c_str(), 5) + f(buffer, none, 5), 0U);
  for (const auto f : plain) EXPECT_EQ(f(buffer, source.c_str(), 0), 0U);
  for (const auto f : counted) EXPECT_EQ(f(none, source.c_str(), 2, 5) + f(buffer, none, 2, 5), 0U);
  for (const auto f : counted) EXPECT_EQ(f(buffer, source.c_str(), 2, 0), 0U);
  EXPECT_EQ(this->shown(3), ".##");
}

TYPED_TEST(BoundedStrings, VerifyFindsTheTerminatorWithinTheFirstNCharacters) {
  const auto* text = this->holding("abc");
  size_t length = 99;
  EXPECT_EQ(TypeParam::verify(text, 4, &length), 0U);
  EXPECT_EQ(length, 3U);
  EXPECT_EQ(TypeParam::verify(text, 3, &length), kFailed);
  EXPECT_EQ(length, 0U);
  length = 99;
  EXPECT_EQ(TypeParam::verify(nullptr, 3, &length), kFailed);
  EXPECT_EQ(length, 0U);
  EXPECT_EQ(TypeParam::verify(text, 4, nullptr), 0U);
}

TEST(Formatting, ReturnsTheLengthOfWhatIsInTheBuffer) {
  const struct {
    size_t size;
    int result;
    const char* text;
  } cases[] = {{1, 0, ""}, {5, 4, "0123"}, {10, 9, "012345678"}, {11, 10, "0123456789"}};
  for (const auto& c : cases) {
    char out[16] = "##############";
    EXPECT_EQ(V_snprintf(out, c.size, "%s%d", "01234", 56789), c.result) << c.size;
    EXPECT_STREQ(out, c.text);
    EXPECT_EQ(out[c.size], '#');
  }
}

TEST(Formatting, RefusesNoBufferAndNoSize) {
  char out[4] = "abc";
  EXPECT_EQ(V_snprintf(nullptr, 4, "x"), -1);
  EXPECT_EQ(V_snprintf(out, 0, "x"), -1);
  EXPECT_STREQ(out, "abc");
}

TEST(Formatting, LeavesAnEmptyTextWhenTheLibraryCannotFormat) {
  ASSERT_NE(setlocale(LC_ALL, "C"), nullptr);
  char out[16] = "old";
  EXPECT_EQ(V_snprintf(out, sizeof(out), "ab%ls", L"\u00e9"), 0);
  EXPECT_STREQ(out, "");
}

TEST(Formatting, WideTextsThatDoNotFitAreCutAndReportedAsNegative) {
  wchar_t out[8] = L"#######";
  EXPECT_EQ(V_snwprintf(out, 8, L"%ls-%d", L"ab", 12), 5);
  EXPECT_STREQ(out, L"ab-12");
  EXPECT_EQ(V_snwprintf(out, 4, L"%ls", L"wxyz"), -1);
  EXPECT_STREQ(out, L"wxy");
  EXPECT_EQ(V_snwprintf(out, 0, L"x"), -1);
  EXPECT_STREQ(out, L"wxy");
  EXPECT_EQ(V_snwprintf(nullptr, 8, L"%d", 123), 3);
  EXPECT_EQ(V_snwprintf(out, SIZE_MAX / 8, L"x"), -1) << "no scratch buffer is that large";
}

TEST(DumbRealloc, StoresTheNewPlaceAndFreesTheBlockWhenItCannotGrow) {
  EXPECT_EQ(V_dumb_realloc(nullptr, 8), nullptr);
  void* block = nullptr;
  EXPECT_NE(V_dumb_realloc(&block, 3), nullptr);
  V_strlcpy(static_cast<char*>(block), "ab", 3);
  void* const moved = V_dumb_realloc(&block, 4096);
  EXPECT_EQ(block, moved);
  EXPECT_STREQ(static_cast<char*>(block), "ab");
  volatile size_t tooMuch = SIZE_MAX / 2;
  EXPECT_EQ(V_dumb_realloc(&block, tooMuch), nullptr);
  EXPECT_EQ(block, nullptr);
}

TEST(CLinkage, TheFunctionsWorkFromC) { EXPECT_EQ(linkageFailure(), 0); }

}  // namespace

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>

#include "cfimsgdgst5.h"

namespace {

using orca_pdk_4_4::CFiMessageDigest5;

std::string digits(std::size_t length) {
  std::string text;
  while (text.size() < length) text += static_cast<char>('0' + text.size() % 10);
  return text;
}

const unsigned char* bytesOf(const std::string& text) {
  return reinterpret_cast<const unsigned char*>(text.data());
}

TEST(MessageDigest5, FollowsRfc1321AroundTheBordersOfBlocksHoweverTheDataIsCut) {
  const std::string lower = "abcdefghijklmnopqrstuvwxyz";
  const std::pair<std::string, const char*> cases[] = {
      {"", "d41d8cd98f00b204e9800998ecf8427e"},
      {"a", "0cc175b9c0f1b6a831c399e269772661"},
      {"abc", "900150983cd24fb0d6963f7d28e17f72"},
      {"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
      {lower, "c3fcd3d76192e4007dfb496cca67e13b"},
      {"ABCDEFGHIJKLMNOPQRSTUVWXYZ" + lower + "0123456789", "d174ab98d277d9f5a5611c2c9f419d9f"},
      {digits(81).substr(1), "57edf4a22be3c955ac49da2e2107b67a"},
      {digits(55), "6e7a4fc92eb1c3f6e652425bcc8d44b5"},
      {digits(56), "8af270b2847610e742b0791b53648c09"},
      {digits(63), "c5e256437e758092dbfe06283e489019"},
      {digits(64), "7f7bfd348709deeaace19e3f535f8c54"},
      {digits(65), "beb9f48bc802ca5ca043bcc15e219a5a"},
      {digits(119), "42eec8502cb0ed8f0d05aa5a24463b6a"},
      {digits(120), "71877a6051c58e0e9246babc177ca5f2"},
      {digits(200000), "bcc4bfca43786497d970f7d3e2fdd455"}};
  for (const auto& [text, digest] : cases) {
    EXPECT_STREQ(CFiMessageDigest5(text.c_str()).GetAnsiMessageDigest(), digest);
    for (const std::size_t piece : {1, 63, 129}) {
      CFiMessageDigest5 object;
      for (std::size_t at = 0; at < text.size(); at += piece) {
        object.Update(bytesOf(text) + at, std::min(piece, text.size() - at));
      }
      object.Finalize();
      EXPECT_STREQ(object.GetAnsiMessageDigest(), digest) << text.size() << " by " << piece;
    }
  }
}

TEST(MessageDigest5, TakesNullAsEmpty) {
  EXPECT_EQ(CFiMessageDigest5(static_cast<const char*>(nullptr))[0], 0xd4);
  EXPECT_EQ(CFiMessageDigest5(static_cast<const unsigned short*>(nullptr))[0], 0xd4);
  EXPECT_EQ(CFiMessageDigest5(nullptr, 7)[0], 0xd4);
}

TEST(MessageDigest5, TakesUtf16TextAsTwoBytesAUnitUpToTheZeroUnit) {
  const unsigned short text[] = {'a', 0x20AC, 'b', 0, 'x'};
  EXPECT_STREQ(CFiMessageDigest5(text).GetAnsiMessageDigest(), "e65c9d041010d6f965bb7d6a97c17bbe");
}

TEST(MessageDigest5, GivesTheSixteenBytesAndZeroBeyond) {
  const CFiMessageDigest5 digest("a");
  EXPECT_EQ(digest[0], 0x0c);
  EXPECT_EQ(digest[15], 0x61);
  EXPECT_EQ(digest[16], 0);
}

TEST(MessageDigest5, IsEmptyUntilFinalizedAndFrozenUntilInitialized) {
  CFiMessageDigest5 digest;
  digest.Update(bytesOf("abc"), 3);
  EXPECT_STREQ(digest.GetAnsiMessageDigest(), "");
  digest.Finalize();
  digest.Update(bytesOf("more"), 4);
  digest.Finalize();
  EXPECT_STREQ(digest.GetAnsiMessageDigest(), "900150983cd24fb0d6963f7d28e17f72");
  digest.Initialize();
  EXPECT_EQ(digest[0], 0);
  digest.Update(bytesOf("a"), 1);
  digest.Finalize();
  EXPECT_STREQ(digest.GetAnsiMessageDigest(), "0cc175b9c0f1b6a831c399e269772661");
}

TEST(MessageDigest5, NeverHasAWideText) {
  EXPECT_STREQ(CFiMessageDigest5("abc").GetUnicodeMessageDigest(), L"");
}

}  // namespace

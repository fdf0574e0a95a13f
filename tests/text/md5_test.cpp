#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>

#include "cfimsgdgst5.h"

namespace {

using orca_pdk_4_4::CFiMessageDigest5;

constexpr char kOfNothing[] = "d41d8cd98f00b204e9800998ecf8427e";

void update(CFiMessageDigest5& digest, const std::string& text, std::size_t piece) {
  const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
  for (std::size_t at = 0; at < text.size(); at += piece) {
    digest.Update(bytes + at, std::min(piece, text.size() - at));
  }
}

TEST(MessageDigest5, FollowsRfc1321HoweverTheDataIsCut) {
  std::string digits;
  while (digits.size() < 200000) digits += "1234567890";
  const std::pair<std::string, const char*> cases[] = {
      {"", kOfNothing},
      {"abcdefghijklmnopqrstuvwxyz", "c3fcd3d76192e4007dfb496cca67e13b"},
      {digits.substr(0, 55), "c9ccf168914a1bcfc3229f1948e67da0"},
      {digits.substr(0, 56), "49f193adce178490e34d1b3a4ec0064c"},
      {digits.substr(0, 64), "eb6c4179c0a7c82cc2828c1e6338e165"},
      {digits, "6c1907b1a78d427b0d8203d4d13b957e"}};
  for (const auto& [text, digest] : cases) {
    EXPECT_STREQ(CFiMessageDigest5(text.c_str()).GetAnsiMessageDigest(), digest);
    for (const std::size_t piece : {1, 63, 64, 129}) {
      CFiMessageDigest5 object;
      update(object, text, piece);
      object.Finalize();
      EXPECT_STREQ(object.GetAnsiMessageDigest(), digest) << text.size() << " by " << piece;
    }
  }
}

TEST(MessageDigest5, TakesUtf16TextAsTwoBytesAUnitUpToTheZeroUnit) {
  const unsigned short text[] = {'a', 0x20AC, 'b', 0, 'x'};
  EXPECT_STREQ(CFiMessageDigest5(text).GetAnsiMessageDigest(), "e65c9d041010d6f965bb7d6a97c17bbe");
}

TEST(MessageDigest5, TakesNullAsEmpty) {
  const char* const text = nullptr;
  EXPECT_STREQ(CFiMessageDigest5(text).GetAnsiMessageDigest(), kOfNothing);
  EXPECT_STREQ(CFiMessageDigest5(nullptr, 7).GetAnsiMessageDigest(), kOfNothing);
}

TEST(MessageDigest5, ChangesOnlyBetweenInitializeAndFinalize) {
  CFiMessageDigest5 digest;
  update(digest, "a", 1);
  EXPECT_STREQ(digest.GetAnsiMessageDigest(), "") << "before Finalize";
  for (const char* ignored : {"", "more"}) {
    update(digest, ignored, 4);
    digest.Finalize();
    EXPECT_STREQ(digest.GetAnsiMessageDigest(), "0cc175b9c0f1b6a831c399e269772661") << ignored;
  }
  digest.Initialize();
  EXPECT_STREQ(digest.GetAnsiMessageDigest(), "") << "after Initialize";
  digest.Finalize();
  EXPECT_STREQ(digest.GetAnsiMessageDigest(), kOfNothing);
}

TEST(MessageDigest5, GivesSixteenBytesButNoWideText) {
  const CFiMessageDigest5 digest("a");
  EXPECT_EQ(digest[0], 0x0C);
  EXPECT_EQ(digest[15], 0x61);
  EXPECT_EQ(digest[16], 0) << "behind the last byte";
  EXPECT_STREQ(digest.GetUnicodeMessageDigest(), L"");
}

TEST(MessageDigest5, TransformMixesInABlockThatTheLengthDoesNotCount) {
  CFiMessageDigest5 digest;
  digest.Transform(reinterpret_cast<const unsigned char*>(std::string(64, 'a').data()));
  digest.Finalize();
  EXPECT_STREQ(digest.GetAnsiMessageDigest(), "9c06142d8ff072ddb52ff1e2e4029467");
}

}  // namespace

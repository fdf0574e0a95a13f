#include "cfimsgdgst5.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

namespace orca_pdk_4_4 {

namespace {

constexpr unsigned long kBlockSize = 64;
constexpr uint64_t kBlockBits = 512;
constexpr unsigned long kLengthOffset = 56;

// The first 32 fraction bits of |sin(i + 1)|.
constexpr uint32_t kSines[64] = {
    0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee, 0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501,
    0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be, 0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821,
    0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa, 0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8,
    0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed, 0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a,
    0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c, 0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70,
    0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05, 0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665,
    0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039, 0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1,
    0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1, 0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391};

// How the words are stored is fixed; on this system it is how they lie in memory.
static_assert(std::endian::native == std::endian::little);

inline uint32_t wordAt(const unsigned char* block, unsigned index) {
  uint32_t word;
  std::memcpy(&word, block + index * sizeof word, sizeof word);
  return word;
}

// What tells one round from another, besides its mixing function.
struct Round {
  unsigned number;
  unsigned factor, offset;  // the order in which the words of the block come in
  int shifts[4];
};

// mix adds its function of b, c and d to the sum. Only b comes out of the step before, so the forms
// below keep the path from b short.
template <Round round, unsigned step, class Mix>
[[gnu::always_inline]] inline void runStep(uint32_t (&state)[4], const unsigned char* block,
                                           Mix mix) {
  uint32_t& a = state[(16 - step) % 4];
  const uint32_t b = state[(17 - step) % 4];
  const uint32_t c = state[(18 - step) % 4];
  const uint32_t d = state[(19 - step) % 4];
  const uint32_t sum = a + kSines[round.number * 16 + step] +
                       wordAt(block, (round.factor * step + round.offset) % 16);
  a = b + std::rotl(mix(sum, b, c, d), round.shifts[step % 4]);
}

template <Round round, class Mix, unsigned... steps>
[[gnu::always_inline]] inline void runSteps(uint32_t (&state)[4], const unsigned char* block,
                                            Mix mix, std::integer_sequence<unsigned, steps...>) {
  (runStep<round, steps>(state, block, mix), ...);
}

template <Round round, class Mix>
[[gnu::always_inline]] inline void runRound(uint32_t (&state)[4], const unsigned char* block,
                                            Mix mix) {
  runSteps<round>(state, block, mix, std::make_integer_sequence<unsigned, 16>());
}

}  // namespace

CFiMessageDigest5::CFiMessageDigest5() { Initialize(); }

CFiMessageDigest5::CFiMessageDigest5(const void* buffer, unsigned long length)
    : CFiMessageDigest5() {
  Update(static_cast<const unsigned char*>(buffer), length);
  Finalize();
}

CFiMessageDigest5::CFiMessageDigest5(const char* text)
    : CFiMessageDigest5(text, text == nullptr ? 0 : std::strlen(text)) {}

CFiMessageDigest5::CFiMessageDigest5(const unsigned short* text) : CFiMessageDigest5() {
  unsigned long units = 0;
  while (text != nullptr && text[units] != 0) ++units;
  Update(reinterpret_cast<const unsigned char*>(text), units * sizeof *text);
  Finalize();
}

void CFiMessageDigest5::Initialize() {
  std::memset(m_block, 0, sizeof m_block);
  m_blockUsed = 0;
  m_a = 0x67452301;
  m_b = 0xEFCDAB89;
  m_c = 0x98BADCFE;
  m_d = 0x10325476;
  m_bitLength = 0;
  std::memset(m_digest, 0, sizeof m_digest);
  std::memset(m_digestText, 0, sizeof m_digestText);
  std::memset(m_wideDigestText, 0, sizeof m_wideDigestText);
}

void CFiMessageDigest5::Update(const unsigned char* data, unsigned long length) {
  if (data == nullptr || m_digestText[0] != '\0') return;
  if (m_blockUsed != 0) {
    const unsigned long piece = std::min<unsigned long>(length, kBlockSize - m_blockUsed);
    std::memcpy(m_block + m_blockUsed, data, piece);
    m_blockUsed += piece;
    if (m_blockUsed < kBlockSize) return;
    transformBlocks(m_block, 1);
    m_bitLength += kBlockBits;
    data += piece;
    length -= piece;
  }
  const unsigned long blocks = length / kBlockSize;
  transformBlocks(data, blocks);
  m_bitLength += blocks * kBlockBits;
  m_blockUsed = length % kBlockSize;
  std::memcpy(m_block, data + blocks * kBlockSize, m_blockUsed);
}

void CFiMessageDigest5::Finalize() {
  if (m_digestText[0] != '\0') return;
  padToLength();
  transformBlocks(m_block, 1);
  storeDigest();
}

void CFiMessageDigest5::padToLength() {
  m_bitLength += m_blockUsed * 8;
  m_block[m_blockUsed++] = 0x80;
  if (m_blockUsed > kLengthOffset) {
    std::memset(m_block + m_blockUsed, 0, kBlockSize - m_blockUsed);
    transformBlocks(m_block, 1);
    m_blockUsed = 0;
  }
  std::memset(m_block + m_blockUsed, 0, kLengthOffset - m_blockUsed);
  std::memcpy(m_block + kLengthOffset, &m_bitLength, sizeof m_bitLength);
}

void CFiMessageDigest5::storeDigest() {
  const uint32_t words[4] = {static_cast<uint32_t>(m_a), static_cast<uint32_t>(m_b),
                             static_cast<uint32_t>(m_c), static_cast<uint32_t>(m_d)};
  std::memcpy(m_digest, words, sizeof m_digest);
  // Digit by digit: formatting sixteen numbers takes longer than the digest of a short text.
  char* out = m_digestText;
  for (const unsigned char byte : m_digest) {
    *out++ = "0123456789abcdef"[byte >> 4];
    *out++ = "0123456789abcdef"[byte & 0xF];
  }
}

const char* CFiMessageDigest5::GetAnsiMessageDigest() const { return m_digestText; }

const wchar_t* CFiMessageDigest5::GetUnicodeMessageDigest() const { return m_wideDigestText; }

unsigned char CFiMessageDigest5::operator[](unsigned long n) const {
  return n < sizeof m_digest ? m_digest[n] : 0;
}

void CFiMessageDigest5::Transform(const unsigned char* block) { transformBlocks(block, 1); }

[[gnu::always_inline]] inline void CFiMessageDigest5::Transform_Round1(uint32_t (&state)[4],
                                                                       const unsigned char* block) {
  runRound<Round{0, 1, 0, {7, 12, 17, 22}}>(
      state, block,
      [](uint32_t sum, uint32_t b, uint32_t c, uint32_t d) { return sum + (d ^ (b & (c ^ d))); });
}

[[gnu::always_inline]] inline void CFiMessageDigest5::Transform_Round2(uint32_t (&state)[4],
                                                                       const unsigned char* block) {
  // The two halves share no bits: added one after the other they give the same as joined by "or".
  runRound<Round{1, 5, 1, {5, 9, 14, 20}}>(
      state, block,
      [](uint32_t sum, uint32_t b, uint32_t c, uint32_t d) { return (sum + (c & ~d)) + (b & d); });
}

[[gnu::always_inline]] inline void CFiMessageDigest5::Transform_Round3(uint32_t (&state)[4],
                                                                       const unsigned char* block) {
  runRound<Round{2, 3, 5, {4, 11, 16, 23}}>(
      state, block,
      [](uint32_t sum, uint32_t b, uint32_t c, uint32_t d) { return sum + (b ^ (c ^ d)); });
}

[[gnu::always_inline]] inline void CFiMessageDigest5::Transform_Round4(uint32_t (&state)[4],
                                                                       const unsigned char* block) {
  runRound<Round{3, 7, 0, {6, 10, 15, 21}}>(
      state, block,
      [](uint32_t sum, uint32_t b, uint32_t c, uint32_t d) { return sum + (c ^ (b | ~d)); });
}

// The state stays in 32-bit locals from the first block to the last.
void CFiMessageDigest5::transformBlocks(const unsigned char* blocks, unsigned long count) {
  uint32_t state[4] = {static_cast<uint32_t>(m_a), static_cast<uint32_t>(m_b),
                       static_cast<uint32_t>(m_c), static_cast<uint32_t>(m_d)};
  for (; count != 0; --count, blocks += kBlockSize) {
    const uint32_t before[4] = {state[0], state[1], state[2], state[3]};
    Transform_Round1(state, blocks);
    Transform_Round2(state, blocks);
    Transform_Round3(state, blocks);
    Transform_Round4(state, blocks);
    for (int i = 0; i < 4; ++i) state[i] += before[i];
  }
  m_a = state[0];
  m_b = state[1];
  m_c = state[2];
  m_d = state[3];
}

}  // namespace orca_pdk_4_4

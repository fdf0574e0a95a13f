#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstring>
#include <string_view>

#include "cfistringtool.h"
#include "cfixmlescape.h"

namespace orca_pdk_4_4 {

namespace {

struct Entity {
  char character;
  std::size_t size;
  char text[8];  // copied whole

  std::string_view view() const { return {text, size}; }
};

// Every entity starts with the only "&" and ends with the only ";" in it, and none holds a special
// character apart from that "&". So replacing one kind after the other, "&" first on the way in and
// last on the way back, finds the same places as one pass over the original text.
constexpr Entity kEntities[] = {
    {'&', 5, "&amp;"}, {'<', 4, "&lt;"}, {'>', 4, "&gt;"}, {'"', 6, "&quot;"}, {'\'', 5, "&#39;"}};

// By character: 1 + its position in kEntities, or 0.
constexpr std::array<unsigned char, 256> kEntityNumbers = [] {
  std::array<unsigned char, 256> numbers{};
  unsigned char number = 0;
  for (const Entity& entity : kEntities) {
    numbers[static_cast<unsigned char>(entity.character)] = ++number;
  }
  return numbers;
}();

std::string_view view(const char* p, const char* end) {
  return {p, static_cast<std::size_t>(end - p)};
}

unsigned char entityNumber(char c) { return kEntityNumbers[static_cast<unsigned char>(c)]; }

#ifdef __SSE2__
constexpr int kLanes = 16;

// A bit for each of sixteen characters, set for the special ones.
unsigned int specialMask(const char* p) {
  const __m128i text = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
  __m128i special = _mm_setzero_si128();
  for (const Entity& entity : kEntities) {
    special = _mm_or_si128(special, _mm_cmpeq_epi8(text, _mm_set1_epi8(entity.character)));
  }
  return static_cast<unsigned int>(_mm_movemask_epi8(special));
}
#endif

// Copies what stands before the next special character, or all.
void copyPlain(const char*& p, const char* end, char*& out) {
#ifdef __SSE2__
  for (; end - p >= kLanes; p += kLanes, out += kLanes) {
    std::memcpy(out, p, kLanes);
    if (const unsigned int mask = specialMask(p)) {
      const int count = std::countr_zero(mask);
      p += count;
      out += count;
      return;
    }
  }
#endif
  while (p != end && entityNumber(*p) == 0) *out++ = *p++;
}

// The entity that stands at p, where an "&" was found; null when there is none.
const Entity* entityAt(const char* p, const char* end) {
  for (const Entity& entity : kEntities) {
    if (view(p, end).starts_with(entity.view())) return &entity;
  }
  return nullptr;
}

const char* findAmpersand(const char* p, const char* end) {
  return p + std::min(view(p, end).find('&'), view(p, end).size());
}

}  // namespace

char* writeXmlEscaped(char* out, std::string_view text) {
  const char* p = text.data();
  const char* const end = p + text.size();
  while (true) {
    copyPlain(p, end, out);
    if (p == end) return out;
    const Entity& entity = kEntities[entityNumber(*p++) - 1];
    std::memcpy(out, entity.text, sizeof entity.text);
    out += entity.size;
  }
}

std::string CFiStringTool::convertToXmlSpecialCharacters(const std::string& text) {
  constexpr std::size_t kPiece = 1024;
  char piece[xmlEscapedRoom(kPiece)];
  std::string escaped;
  escaped.reserve(text.size() + text.size() / 4);
  for (std::size_t at = 0; at < text.size(); at += kPiece) {
    escaped.append(piece, writeXmlEscaped(piece, std::string_view(text).substr(at, kPiece)));
  }
  return escaped;
}

std::string CFiStringTool::convertFromXmlSpecialCharacters(const std::string& text) {
  const char* p = text.data();
  const char* const end = p + text.size();
  std::string plain;
  plain.reserve(text.size());
  for (const char* mark = findAmpersand(p, end); mark != end; mark = findAmpersand(p, end)) {
    const Entity* const entity = entityAt(mark, end);
    plain.append(view(p, mark)) += entity == nullptr ? '&' : entity->character;
    p = mark + (entity == nullptr ? 1 : entity->size);
  }
  return plain.append(view(p, end));
}

std::string CFiStringTool::xmlBracket(const std::string& name, bool open, bool newline) {
  return (open ? "<" : "</") + name + (newline ? ">\n" : ">");
}

std::string CFiStringTool::xmlBracketValue(const std::string& name, const std::string& value) {
  return std::string("\t") + xmlBracket(name, true, false) + convertToXmlSpecialCharacters(value) +
         xmlBracket(name, false, true);
}

}  // namespace orca_pdk_4_4

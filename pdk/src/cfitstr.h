#ifndef ORCA_PDK_CFITSTR_H
#define ORCA_PDK_CFITSTR_H

#include <new>
#include <string_view>
#include <vector>

#include "cfitypes.h"

namespace orca_pdk_4_4 {

inline bool contains(std::string_view text, std::string_view part) {
  return text.find(part) != std::string_view::npos;
}

// An ACE string that gets no memory is silently empty. Strings made here throw std::bad_alloc; so
// that no copy is made of them either, they are passed on as they are returned.

inline const tstr& requireLength(const tstr& text, std::size_t length) {
  if (text.length() != length) throw std::bad_alloc();
  return text;
}

// An argument that was passed as a copy; one that got no memory has no text, not even an empty one.
inline const tstr& requireCopied(const tstr& argument) {
  if (argument.c_str() == nullptr) throw std::bad_alloc();
  return argument;
}

inline tstr makeTstr(std::string_view text) {
  tstr made(text.data(), text.size());
  requireLength(made, text.size());
  return made;
}

inline void assignTstr(tstr& to, std::string_view text) {
  to.set(text.data(), text.size(), true);
  requireLength(to, text.size());
}

// Appends a string; the list has room for it, since growing would copy those that it holds.
inline void appendTstr(std::vector<tstr>& list, std::string_view text) {
  requireLength(list.emplace_back(text.data(), text.size()), text.size());
}

}  // namespace orca_pdk_4_4

#endif

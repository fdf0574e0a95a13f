#ifndef ORCA_PDK_CFICOMMANDWORDS_H
#define ORCA_PDK_CFICOMMANDWORDS_H

#include <cstddef>
#include <string_view>

namespace orca_pdk_4_4 {

enum class EFiWord { FOUND, END, BROKEN };

// Finds the next word of a command text: word is the stretch of text with its quotes and
// backslashes, position the place to go on from. BROKEN for an unclosed quote and for a backslash
// at the end of the text.
EFiWord findCommandWord(const char*& position, std::string_view& word);

// Writes a word without its quotes, and its backslash pairs as the character meant, to target,
// which has room for as many bytes as the word has. Returns how many were written; no NUL is added.
std::size_t unquoteCommandWord(std::string_view word, char* target);

}  // namespace orca_pdk_4_4

#endif

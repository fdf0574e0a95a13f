#include "secrets.h"

#include <algorithm>
#include <utility>

namespace firecord {

Secrets::Secrets(std::vector<std::string> words) : m_words(std::move(words)) {
  std::erase(m_words, "");
  std::sort(m_words.begin(), m_words.end(),
            [](const auto& a, const auto& b) { return a.size() > b.size(); });
}

// The length of the longest word that begins there; 0 for none.
std::size_t Secrets::matchAt(const std::string& text, std::size_t at) const {
  for (const std::string& word : m_words) {
    if (text.compare(at, word.size(), word) == 0) return word.size();
  }
  return 0;
}

// A text from a place to its end or behind it, where a word goes on. Moves the place there.
std::string Secrets::hidden(const std::string& text, std::size_t& at, std::size_t end) const {
  std::string result;
  while (at < end) {
    const std::size_t size = matchAt(text, at);
    if (size == 0) {
      result += text[at++];
    } else {
      result += "***";
      at += size;
    }
  }
  return result;
}

void Secrets::hide(std::vector<std::string>& arguments) const {
  for (std::string& word : arguments) {
    std::size_t at = 0;
    word = hidden(word, at, word.size());
  }
}

// One of the two streams: its pieces make one text.
void Secrets::hide(std::vector<Piece>& output, bool isError) const {
  std::string whole;
  for (const Piece& piece : output) {
    if (piece.isError == isError) whole += piece.bytes;
  }
  std::size_t at = 0;
  std::size_t end = 0;
  for (Piece& piece : output) {
    if (piece.isError != isError) continue;
    end += piece.bytes.size();
    piece.bytes = hidden(whole, at, end);
  }
}

void Secrets::hide(Call& call) const {
  if (m_words.empty()) return;
  std::size_t at = 0;
  call.tool = hidden(call.tool, at, call.tool.size());
  hide(call.arguments);
  hide(call.output, false);
  hide(call.output, true);
}

}  // namespace firecord

#include "catalog/source.h"

#include <unicode/unistr.h>

#include <algorithm>
#include <cstring>
#include <filesystem>

#include "files/inputfile.h"

namespace fihost::catalog {

namespace {

// A word or mark of a source: a name, a quoted text, "{", "}", or nothing at the end.
struct Token {
  enum Kind { Name, Quoted, Open, Close, End } kind = End;
  std::string text;
  int line = 0;
};

class Tokens {
 public:
  explicit Tokens(std::string text) : m_text(std::move(text)) {}

  Token next() {
    skip();
    Token token{Token::End, "", m_line};
    if (m_at >= m_text.size()) return token;
    const char c = m_text[m_at];
    if (c == '{' || c == '}') {
      ++m_at;
      token.kind = c == '{' ? Token::Open : Token::Close;
    } else if (c == '"') {
      token.kind = Token::Quoted;
      token.text = quoted();
    } else {
      token.kind = Token::Name;
      const std::size_t end = m_text.find_first_of(" \t\r\n{}\",/", m_at);
      token.text = m_text.substr(m_at, std::max(end, m_at + 1) - m_at);
      m_at += token.text.size();
    }
    return token;
  }

 private:
  // Blanks, commas and comments.
  void skip() {
    while (m_at < m_text.size()) {
      if (m_text.compare(m_at, 2, "//") == 0) {
        m_at = std::min(m_text.find('\n', m_at), m_text.size());
      } else if (m_text.compare(m_at, 2, "/*") == 0) {
        const std::size_t end = std::min(m_text.find("*/", m_at + 2), m_text.size() - 2) + 2;
        pass(end);
      } else if (m_text.compare(m_at, 3, "\xEF\xBB\xBF") == 0) {
        m_at += 3;
      } else if (std::strchr(" \t\r\n,", m_text[m_at]) != nullptr) {
        pass(m_at + 1);
      } else {
        return;
      }
    }
  }

  void pass(std::size_t end) {
    m_line += static_cast<int>(std::count(m_text.begin() + static_cast<std::ptrdiff_t>(m_at),
                                          m_text.begin() + static_cast<std::ptrdiff_t>(end), '\n'));
    m_at = end;
  }

  std::string quoted() {
    const std::size_t begin = ++m_at;
    while (m_at < m_text.size() && m_text[m_at] != '"') m_at += m_text[m_at] == '\\' ? 2 : 1;
    m_at = std::min(m_at, m_text.size());
    const std::string inside = m_text.substr(begin, m_at - begin);
    m_line += static_cast<int>(std::count(inside.begin(), inside.end(), '\n'));
    m_at = std::min(m_at + 1, m_text.size());
    std::string text;
    icu::UnicodeString::fromUTF8(inside).unescape().toUTF8String(text);
    return text;
  }

  std::string m_text;
  std::size_t m_at = 0;
  int m_line = 1;
};

class Reading {
 public:
  Reading(Source& source, std::string text, std::vector<Fault>& faults)
      : m_source(source), m_tokens(std::move(text)), m_faults(faults) {}

  void read() {
    const Token head = m_tokens.next();
    m_source.head = head.text.substr(0, head.text.find(':'));
    m_source.headLine = head.line;
    if (head.kind != Token::Name || m_tokens.next().kind != Token::Open) {
      return complain(head.line, "a table begins with the name of its language and \"{\"");
    }
    for (Token token = m_tokens.next(); token.kind != Token::Close; token = m_tokens.next()) {
      if (token.kind != Token::Name) return complain(token.line, "a message id is missing");
      if (!readText(token)) return;
    }
  }

 private:
  // One or several quoted texts, put together.
  bool readText(const Token& id) {
    Text text{id.text.substr(0, id.text.find(':')), "", id.line};
    Token token = m_tokens.next();
    bool isWhole = token.kind == Token::Open;
    while (isWhole && (token = m_tokens.next()).kind == Token::Quoted) text.pattern += token.text;
    isWhole = isWhole && token.kind == Token::Close;
    if (!isWhole) {
      complain(id.line, id.text + " is no quoted text between \"{\" and \"}\"");
      return false;
    }
    if (m_source.find(text.id) != nullptr) complain(id.line, text.id + " is there twice");
    m_source.texts.push_back(std::move(text));
    return true;
  }

  void complain(int line, const std::string& sentence) {
    m_faults.push_back({m_source.file, line, sentence});
  }

  Source& m_source;
  Tokens m_tokens;
  std::vector<Fault>& m_faults;
};

}  // namespace

const Text* Source::find(const std::string& id) const {
  const auto found =
      std::find_if(texts.begin(), texts.end(), [&](const Text& text) { return text.id == id; });
  return found != texts.end() ? &*found : nullptr;
}

Source readSource(const std::string& file, std::vector<Fault>& faults) {
  Source source;
  source.file = file;
  source.locale = std::filesystem::path(file).stem().string();
  Reading(source, readInput(file), faults).read();
  return source;
}

}  // namespace fihost::catalog

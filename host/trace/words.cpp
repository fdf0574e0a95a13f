#include "trace/words.h"

#include <algorithm>
#include <charconv>

#include "cli/text.h"

namespace fihost {

namespace {

constexpr std::string_view kBlanks = " \t\r";
constexpr std::string_view kShort = "\"\\ntr";
constexpr std::string_view kMeant = "\"\\\n\t\r";

// Reads a line character by character.
class Splitter {
 public:
  explicit Splitter(const std::string& line) : m_line(line) {}

  std::vector<Word> words() {
    std::vector<Word> words;
    while (skipBlanks()) words.push_back(word());
    return words;
  }

 private:
  bool isAtEnd() const { return m_at == m_line.size(); }
  bool isBlank() const { return kBlanks.find(m_line[m_at]) != kBlanks.npos; }

  // False at the end or a comment.
  bool skipBlanks() {
    while (!isAtEnd() && isBlank()) ++m_at;
    return !isAtEnd() && m_line[m_at] != '#';
  }

  Word word() {
    Word word{"", m_line[m_at] == '"'};
    while (!isAtEnd() && !isBlank()) {
      if (m_line[m_at] == '"') {
        ++m_at;
        readQuoted(word.text);
      } else {
        word.text += m_line[m_at++];
      }
    }
    return word;
  }

  void readQuoted(std::string& text) {
    while (!isAtEnd() && m_line[m_at] != '"') {
      text += m_line[m_at] == '\\' ? escaped() : m_line[m_at++];
    }
    if (isAtEnd()) throw std::string("a quote is not closed");
    ++m_at;
  }

  char escaped() {
    const char c = m_at + 1 < m_line.size() ? m_line[m_at + 1] : '\0';
    const std::size_t place = kShort.find(c);
    if (c != '\0' && place != kShort.npos) {
      m_at += 2;
      return kMeant[place];
    }
    unsigned code = 0;
    const char* const digits = m_line.data() + std::min(m_at + 2, m_line.size());
    const char* const end = m_line.data() + std::min(m_at + 4, m_line.size());
    if (c != 'x' || std::from_chars(digits, end, code, 16).ptr != digits + 2) {
      throw std::string("a backslash in quotes is followed by none of \" \\ n t r xNN");
    }
    m_at += 4;
    return static_cast<char>(code);
  }

  const std::string& m_line;
  std::size_t m_at = 0;
};

bool isPlain(const std::string& text) {
  if (text.empty() || text.front() == '#' || text.front() == '$') return false;
  return text.find_first_of(" \"=\\") == text.npos && text == printable(text);
}

}  // namespace

std::vector<Word> splitWords(const std::string& line) { return Splitter(line).words(); }

std::string asWord(const std::string& text) { return isPlain(text) ? text : inQuotes(text); }

std::string inQuotes(const std::string& text) {
  std::string result = "\"";
  for (std::size_t i = 0; i < text.size();) {
    const Character character = characterAt(text, i);
    const std::string bytes = text.substr(i, character.size);
    const std::size_t place = kMeant.find(bytes);
    if (place != kMeant.npos) {
      result += {'\\', kShort[place]};
    } else {
      result += character.isVisible ? bytes : bytesAsDigits(bytes);
    }
    i += character.size;
  }
  return result + "\"";
}

std::vector<std::string> textsOf(const Value& value) {
  if (const auto* text = std::get_if<std::string>(&value)) return {*text};
  if (const auto* number = std::get_if<long>(&value)) return {std::to_string(*number)};
  if (const auto* texts = std::get_if<std::vector<std::string>>(&value)) return *texts;
  std::vector<std::string> numbers;
  if (const auto* list = std::get_if<std::vector<long>>(&value)) {
    for (const long number : *list) numbers.push_back(std::to_string(number));
  }
  return numbers;
}

const Value* find(const Values& values, const std::string& name) {
  const auto found = std::find_if(values.begin(), values.end(),
                                  [&](const NamedValue& value) { return value.name == name; });
  return found == values.end() ? nullptr : &found->value;
}

}  // namespace fihost

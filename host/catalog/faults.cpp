#include "catalog/faults.h"

#include <unicode/messagepattern.h>

#include <algorithm>
#include <set>

namespace fihost::catalog {

namespace {

constexpr char kRoot[] = "root";

using Numbers = std::set<int>;

std::string listed(const Numbers& numbers) {
  std::string text;
  for (const int number : numbers) {
    text.append(text.empty() ? "{" : ", {").append(std::to_string(number)).append("}");
  }
  return text.empty() ? "no arguments" : text;
}

// The arguments that the formatter sees. False for a pattern that it cannot read.
bool readArguments(const std::string& pattern, Numbers& numbers) {
  UErrorCode status = U_ZERO_ERROR;
  const icu::MessagePattern parsed(icu::UnicodeString::fromUTF8(pattern), nullptr, status);
  if (U_FAILURE(status)) return false;
  for (int32_t i = 0; i < parsed.countParts(); ++i) {
    const icu::MessagePattern::Part& part = parsed.getPart(i);
    if (part.getType() == UMSGPAT_PART_TYPE_ARG_NUMBER) numbers.insert(part.getValue());
  }
  return true;
}

// What stands there as an argument, quoted or not.
Numbers written(const std::string& pattern) {
  Numbers numbers;
  for (std::size_t at = pattern.find('{'); at != pattern.npos; at = pattern.find('{', at + 1)) {
    std::size_t end = at + 1;
    while (end < pattern.size() && pattern[end] >= '0' && pattern[end] <= '9') ++end;
    const bool isNumber = end > at + 1 && end < at + 5 && end < pattern.size();
    if (isNumber && (pattern[end] == '}' || pattern[end] == ',')) {
      numbers.insert(std::stoi(pattern.substr(at + 1)));
    }
  }
  return numbers;
}

class Checking {
 public:
  explicit Checking(const std::vector<Source>& sources) : m_sources(sources) {
    const auto root = std::find_if(sources.begin(), sources.end(),
                                   [](const Source& source) { return source.locale == kRoot; });
    m_root = root != sources.end() ? &*root : nullptr;
  }

  std::vector<Fault> faults() {
    if (m_root == nullptr && !m_sources.empty()) {
      add(m_sources.front(), 1, "there is no root.txt beside it, whose texts stand in for others");
    }
    for (const Source& source : m_sources) check(source);
    return std::move(m_faults);
  }

 private:
  void add(const Source& source, int line, const std::string& sentence) {
    m_faults.push_back({source.file, line, sentence});
  }

  void check(const Source& source) {
    if (source.head != source.locale) {
      add(source, source.headLine, "the table is named " + source.head + ", not " + source.locale);
    }
    for (const Text& text : source.texts) check(source, text);
    if (m_root == nullptr || &source == m_root) return;
    for (const Text& text : m_root->texts) {
      if (source.find(text.id) == nullptr) {
        add(source, source.headLine, "it lacks " + text.id + " of " + m_root->file);
      }
    }
  }

  void check(const Source& source, const Text& text) {
    Numbers numbers;
    if (!readArguments(text.pattern, numbers)) {
      return add(source, text.line, text.id + " is no message pattern: \"" + text.pattern + "\"");
    }
    const Numbers meant = written(text.pattern);
    if (numbers != meant) {
      add(source, text.line,
          text.id + ": an apostrophe makes an argument plain text (it has " + listed(meant) +
              ", and " + listed(numbers) + " are filled in); write '' for an apostrophe");
    }
    if (m_root == nullptr || &source == m_root) return;
    const Text* const original = m_root->find(text.id);
    if (original == nullptr) {
      return add(source, text.line, text.id + " is not in " + m_root->file);
    }
    const Numbers wanted = written(original->pattern);
    if (meant != wanted) {
      add(source, text.line,
          text.id + " has " + listed(meant) + ", and in " + m_root->file + " " + listed(wanted));
    }
  }

  const std::vector<Source>& m_sources;
  const Source* m_root;
  std::vector<Fault> m_faults;
};

}  // namespace

std::vector<Fault> faultsOf(const std::vector<Source>& sources) {
  return Checking(sources).faults();
}

}  // namespace fihost::catalog

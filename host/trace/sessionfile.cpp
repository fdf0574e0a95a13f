#include "trace/sessionfile.h"

#include <algorithm>
#include <charconv>
#include <iostream>
#include <sstream>

#include "cli/exitstatus.h"
#include "files/inputfile.h"
#include "trace/stage.h"

namespace fihost {

namespace {

constexpr std::string_view kSnapshot = "$snapshot";
constexpr std::size_t kLongestInput = std::size_t{16} * 1024 * 1024;

using Words = std::vector<Word>;

// The content of a file or of standard input, of which there is no end to be sure of.
std::string textOf(const std::string& path) {
  if (path != "-") return readInput(path);
  std::string text(kLongestInput + 1, '\0');
  std::cin.read(text.data(), static_cast<std::streamsize>(text.size()));
  text.resize(static_cast<std::size_t>(std::cin.gcount()));
  if (std::cin.bad()) throw Problem{kWrongUse, "cannot read standard input"};
  if (text.size() > kLongestInput) {
    throw Problem{kWrongUse, "standard input is longer than 16 MiB"};
  }
  return text;
}

const Form* findForm(const Words& words, std::size_t& count) {
  for (const std::size_t size : {std::size_t{2}, std::size_t{1}}) {
    if (words.size() < size) continue;
    std::string name = words[0].text;
    if (size == 2) name += " " + words[1].text;
    const auto forms = allForms();
    const auto found = std::find_if(forms.begin(), forms.end(),
                                    [&](const Form& form) { return form.name() == name; });
    count = size;
    if (found != forms.end()) return &*found;
  }
  throw "\"" + words[0].text + "\" is no operation";
}

// Gives the words of a line to the places of its form.
class Placing {
 public:
  Placing(const Form& form, Words words) : m_form(form), m_words(std::move(words)) {}

  std::map<std::string, Words> arguments() {
    const std::vector<Place> places = m_form.places();
    for (const Place& place : places) {
      if (place.isNamed) takeNamed(place);
    }
    for (const Place& place : places) {
      if (!place.isNamed) take(place);
    }
    if (m_next < m_words.size()) throw "\"" + m_words[m_next].text + "\" is too much";
    for (const auto& [name, words] : m_arguments) {
      for (const Word& word : words) snapshotNumber(word);
    }
    return m_arguments;
  }

 private:
  // A quoted word is never NAME=VALUE.
  void takeNamed(const Place& place) {
    const std::string beginning = place.name + "=";
    const auto isIts = [&](const Word& word) {
      return !word.isQuoted && word.text.starts_with(beginning);
    };
    for (const Word& word : m_words) {
      if (isIts(word)) {
        m_arguments[place.name].push_back({word.text.substr(beginning.size()), true});
      }
    }
    std::erase_if(m_words, isIts);
    if (!place.areNodes && isNumber(place.name)) checkNumber(place.name);
  }

  void take(const Place& place) {
    if (place.isWanted() && m_next == m_words.size()) {
      throw m_form.name() + " needs more: " + m_form.arguments;
    }
    const std::size_t end = place.takesRest ? m_words.size() : m_next + 1;
    for (bool isSecond = false; m_next < end; ++m_next) {
      m_arguments[isSecond ? place.second : place.name].push_back(m_words[m_next]);
      isSecond = !place.second.empty() && !isSecond;
    }
    if (!place.second.empty() &&
        m_arguments[place.name].size() != m_arguments[place.second].size()) {
      throw m_form.name() + " takes pairs: " + m_form.arguments;
    }
    if (!place.areNodes && isNumber(place.name)) checkNumber(place.name);
  }

  static bool isNumber(const std::string& name) {
    static constexpr std::string_view kNumbers[] = {"flags", "code",   "kind",  "status",
                                                    "flag",  "second", "index", "transportable"};
    return std::find(std::begin(kNumbers), std::end(kNumbers), name) != std::end(kNumbers);
  }

  void checkNumber(const std::string& name) {
    for (const Word& word : m_arguments[name]) numberIn(word.text);
  }

  const Form& m_form;
  Words m_words;
  std::size_t m_next = 0;
  std::map<std::string, Words> m_arguments;
};

// Builds a session file line by line.
class Reader {
 public:
  Reader(SessionFile& file, std::string session) : m_file(file), m_session(std::move(session)) {}

  void read(int line, const Words& words) {
    const std::string& first = words.front().text;
    if (first == "plugin") {
      m_file.plugin = only(words);
    } else if (first == "session") {
      m_session = only(words);
    } else if (first == "expect" || first == "until") {
      if (m_file.steps.empty()) throw first + " stands before any operation";
      if (words.size() < 2) throw first + " needs to know what";
      m_file.steps.back().expectations.push_back(
          {line, first == "until", {words.begin() + 1, words.end()}});
    } else {
      std::size_t count = 0;
      const Form* form = findForm(words, count);
      Placing placing(*form, {words.begin() + static_cast<std::ptrdiff_t>(count), words.end()});
      m_file.steps.push_back({line, form, placing.arguments(), m_session, {}});
    }
  }

 private:
  static std::string only(const Words& words) {
    if (words.size() != 2) throw words.front().text + " takes one word";
    return words[1].text;
  }

  SessionFile& m_file;
  std::string m_session;
};

}  // namespace

std::size_t snapshotNumber(const Word& word) {
  if (word.isQuoted || !word.text.starts_with('$')) return 0;
  std::size_t number = 0;
  const char* const end = word.text.data() + word.text.size();
  const bool isIts = word.text.starts_with(kSnapshot);
  if (isIts && std::from_chars(word.text.data() + kSnapshot.size(), end, number).ptr == end &&
      number > 0) {
    return number;
  }
  throw "\"" + word.text + "\" means nothing; quote it where it is meant as it stands";
}

std::string snapshotWord(std::size_t number) {
  return std::string(kSnapshot) + std::to_string(number);
}

SessionFile readSessionFile(const std::string& path, const std::string& session) {
  SessionFile file{path == "-" ? "standard input" : path, "", {}};
  Reader reader(file, session);
  std::istringstream lines(textOf(path));
  int line = 0;
  for (std::string text; std::getline(lines, text);) {
    ++line;
    try {
      const Words words = splitWords(text);
      if (!words.empty()) reader.read(line, words);
    } catch (const std::string& reason) {
      throw Problem{kWrongUse, file.at(line) + ": " + reason};
    }
  }
  return file;
}

}  // namespace fihost

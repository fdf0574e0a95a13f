#ifndef FIHOST_TRACE_WORDS_H
#define FIHOST_TRACE_WORDS_H

#include <string>
#include <vector>

#include "trace/event.h"

namespace fihost {

// A word of a line.
struct Word {
  std::string text;
  bool isQuoted = false;  // whether it begins with a quote, and so means nothing but its text
};

// The words of a line. Blanks separate them; double quotes hold together what stands between them,
// where \" \\ \n \t \r and \xNN stand for one character each; "#" at the beginning of a word makes
// the rest a comment. Throws a text where a quote is not closed or a backslash means nothing.
std::vector<Word> splitWords(const std::string& line);

// A text as one word that splitWords reads back: quoted where it has to be. All of it is visible.
std::string asWord(const std::string& text);
// The same, always quoted.
std::string inQuotes(const std::string& text);

// A value as its texts: none for nothing, one for a text or a number, one for each of a list.
std::vector<std::string> textsOf(const Value& value);
// A value of that name; null when there is none.
const Value* find(const Values& values, const std::string& name);

}  // namespace fihost

#endif

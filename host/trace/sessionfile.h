#ifndef FIHOST_TRACE_SESSIONFILE_H
#define FIHOST_TRACE_SESSIONFILE_H

#include <map>
#include <string>
#include <vector>

#include "trace/form.h"
#include "trace/words.h"

namespace fihost {

// What the answer of an operation must be.
struct Expectation {
  int line;
  bool isAwaited;  // "until": the operation is called again until it is so
  std::vector<Word> words;
};

// An operation of a session file, with what it is called with and what is expected of it.
struct SessionStep {
  int line;
  const Form* form;
  std::map<std::string, std::vector<Word>> arguments;
  std::string session;
  std::vector<Expectation> expectations;
};

// A session as a file: operations in the order in which they are called.
struct SessionFile {
  std::string name;
  std::string plugin;  // empty where no line names it
  std::vector<SessionStep> steps;

  // A place in it, "FILE:LINE".
  std::string at(int line) const { return name + ":" + std::to_string(line); }
};

// A word that stands for the Nth snapshot that operations of the file have handed out, from 1 on;
// 0 for any other word. Throws a text for a word that begins with "$" and means nothing.
std::size_t snapshotNumber(const Word& word);
// The word for it.
std::string snapshotWord(std::size_t number);

// Reads a session file, "-" for standard input; nothing of it is done. `session` is the id of its
// session until a line names another. Throws a Problem that names file and line.
SessionFile readSessionFile(const std::string& path, const std::string& session);

}  // namespace fihost

#endif

#ifndef FIHOST_CATALOG_SOURCE_H
#define FIHOST_CATALOG_SOURCE_H

#include <string>
#include <vector>

namespace fihost::catalog {

// A text of a catalog.
struct Text {
  std::string id;
  std::string pattern;  // UTF-8, quotes and escapes taken off
  int line = 0;
};

// Something that is wrong, and where.
struct Fault {
  std::string file;
  int line;
  std::string sentence;
};

// The source of one language of a message catalog: a table of texts as genrb reads it.
struct Source {
  std::string file;
  std::string locale;  // by the file's name
  std::string head;    // by the table's
  int headLine = 1;
  std::vector<Text> texts;

  // Null where there is none.
  const Text* find(const std::string& id) const;
};

// Reads a source; appends what cannot be read to the faults. Throws a Problem (kWrongUse) for a
// file that cannot be read at all.
Source readSource(const std::string& file, std::vector<Fault>& faults);

}  // namespace fihost::catalog

#endif

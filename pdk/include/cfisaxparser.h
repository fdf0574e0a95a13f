#ifndef ORCA_PDK_CFISAXPARSER_H
#define ORCA_PDK_CFISAXPARSER_H

#include <memory>
#include <string>
#include <vector>
#include <xercesc/sax2/DefaultHandler.hpp>

#include "cfiexport.h"

namespace orca_pdk_4_4 {

// Reads XML documents held in memory through a SAX2 reader. A document can reach neither files nor
// the network; only the schema given to setInputSchema is read. What its document type declares may
// make it grow by 16 times its own length and 16 MiB; what could do more is an error where it is
// used: a parameter entity of more than 48 characters or one that refers to others, an entity in an
// attribute default, one of more than 4096 characters.
//
// Errors of the set-up operations are not reported there: a parser whose set-up failed throws
// std::runtime_error at every parse until init succeeds. A parser can be used again, also after a
// document that was in error. Without memory every operation throws std::bad_alloc; the parser
// then wants init as well. A process whose first parser found no memory gets no other one: the
// reader's platform stays half made.
//
// Threads: one at a time for each parser.
class ORCA_PDK_API CFiSaxParser {
 public:
  // Sets the reader up; null handler and null schema leave those out.
  explicit CFiSaxParser(xercesc::DefaultHandler* handler = nullptr, const char* schema = nullptr);
  ~CFiSaxParser();
  CFiSaxParser(const CFiSaxParser&) = delete;
  CFiSaxParser& operator=(const CFiSaxParser&) = delete;

  // Makes a new reader without validation and without namespaces: handlers compare qualified names.
  // The handler in use stays in use, a schema does not.
  void init();
  // Events and errors go to this handler from now on; null takes it away. Not owned: it must
  // outlive the parser or be taken away.
  void setHandler(xercesc::DefaultHandler* handler);
  // Documents are validated against the schema of that path from now on. Null is ignored.
  void setInputSchema(const char* path);

  // Parses one document. The handler learns of errors in it; without a handler they go unreported.
  // What the handler and the reader throw passes to the caller.
  void parse(const std::string& text);
  // The same for bytes that the caller keeps in place meanwhile. Null counts as empty.
  void parse(const char* text, size_t length);
  // The same for the lines put together with nothing between them.
  void parse(const std::vector<std::string>& lines);

 private:
  class Reader;
  class SchemaResolver;

  void createReader();
  void useSchema(const char* path);

  xercesc::DefaultHandler* m_handler = nullptr;
  std::unique_ptr<SchemaResolver> m_resolver;
  std::unique_ptr<Reader> m_reader;
  bool m_setUpFailed = false;
};

}  // namespace orca_pdk_4_4

#endif

#ifndef FIRECORD_CALL_H
#define FIRECORD_CALL_H

#include <cstdint>
#include <string>
#include <vector>

namespace firecord {

// What the tool wrote at once. Milliseconds count from its start.
struct Piece {
  bool isError;  // on standard error
  int64_t at;
  std::string bytes;
};

// A call of the tool, and how it went.
struct Call {
  std::string time;  // of its start, UTC
  std::string tool;
  std::vector<std::string> arguments;
  std::vector<Piece> output;  // in its order
  int status = 0;             // how it ended: with a status, or by a signal
  int signal = 0;             // 0: with a status
  int64_t milliseconds = 0;

  // As a shell tells it: 128 and the number of a signal.
  int exitStatus() const { return signal == 0 ? status : 128 + signal; }
};

// A call as one line of JSON, with its newline. Bytes that are no UTF-8 stand as {"hex": "…"}.
std::string lineOf(const Call& call);

// The call of such a line. Throws std::runtime_error, which says what is wrong with it.
Call callOf(const std::string& line);

// Arguments for a message: a list on one line, all of whose characters can be seen.
std::string shown(const std::vector<std::string>& arguments);

}  // namespace firecord

#endif

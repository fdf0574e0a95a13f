#ifndef FIRECORD_RELAY_H
#define FIRECORD_RELAY_H

#include <chrono>
#include <string>
#include <vector>

#include "call.h"
#include "ownfile.h"

namespace firecord {

// Passes on what a tool writes, at once, and keeps it.
class Relay {
 public:
  // Times of pieces count from `start`.
  explicit Relay(std::chrono::steady_clock::time_point start) : m_start(start) {}

  // What comes out of a pipe goes to a descriptor. A source without a descriptor is left out.
  void add(Descriptor source, int target, bool isError);
  // Comes back when nobody holds the pipes any more. Where the caller no longer takes the output
  // the pipe is closed, and the tool sees that as it would without this program. Throws Trouble.
  void run();

  // What was kept. Adjacent pieces are one where they came within some milliseconds.
  std::vector<Piece>& kept() { return m_kept; }
  // Why not all was passed on or kept; empty when it was, or nobody reads it.
  const std::string& trouble() const { return m_trouble; }

 private:
  struct Stream {
    Descriptor source;
    int target;
    bool isError;
  };
  void passOn(Stream& stream);
  void keep(bool isError, std::string_view bytes);

  std::chrono::steady_clock::time_point m_start;
  std::vector<Stream> m_streams;
  std::vector<Piece> m_kept;
  std::size_t m_size = 0;
  std::string m_trouble;
};

}  // namespace firecord

#endif

#ifndef FIRECORD_RECORDING_H
#define FIRECORD_RECORDING_H

#include <string>
#include <vector>

#include "call.h"
#include "ownfile.h"

namespace firecord {

// A recording: a line that says what it is, and then a line of JSON for each call. All functions
// throw Trouble.

// A recording that gets calls. Several processes may append to one.
class RecordingFile {
 public:
  // Opens it, and makes it where there is none. What is no recording, or ends in half a line, is
  // refused.
  explicit RecordingFile(const std::string& path);

  // Adds a call as a whole, durably, or nothing.
  void append(const Call& call) const;

 private:
  void add(const std::string& line) const;
  void requireRecording(off_t size) const;

  std::string m_path;
  Descriptor m_file;
};

// All calls of a recording. A line that is none is an error that names it.
std::vector<Call> readRecording(const std::string& path);

// The file beside a recording that holds how many of its calls were played back.
std::string positionFile(const std::string& path);

}  // namespace firecord

#endif

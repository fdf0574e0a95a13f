#include "recording.h"

#include <fcntl.h>

#include <exception>
#include <sstream>

#include "cli/exitstatus.h"
#include "files/inputfile.h"
#include "output.h"

namespace firecord {

namespace {

const std::string kFirstLine = "{\"firecord\":1}\n";

Trouble noRecording(const std::string& path) {
  return {kTroubled, path + ": line 1: this is no recording of firecord"};
}

std::string contentOf(const std::string& path) {
  try {
    return fihost::readInput(path);
  } catch (const fihost::Problem& problem) {
    throw Trouble{kTroubled, problem.text};
  }
}

std::string textAt(const Descriptor& file, const std::string& path, off_t at, std::size_t size) {
  std::string text(size, '\0');
  const ssize_t got = retried([&] { return pread(file.get(), text.data(), size, at); });
  if (got < 0) throw fileTrouble(path, "cannot read it");
  text.resize(static_cast<std::size_t>(got));
  return text;
}

}  // namespace

RecordingFile::RecordingFile(const std::string& path)
    : m_path(path), m_file(openOwn(path, O_APPEND)) {
  withLock(m_path, [this] {
    if (const off_t size = sizeOf(m_file, m_path); size > 0) return requireRecording(size);
    if (unlink(positionFile(m_path).c_str()) != 0 && errno != ENOENT) {
      throw fileTrouble(positionFile(m_path), "cannot remove it");
    }
    add(kFirstLine);
  });
}

void RecordingFile::requireRecording(off_t size) const {
  if (textAt(m_file, m_path, 0, kFirstLine.size()) != kFirstLine) throw noRecording(m_path);
  if (textAt(m_file, m_path, size - 1, 1) != "\n") {
    throw Trouble{kTroubled, m_path + ": its last line is not whole; remove it"};
  }
}

// Takes back what it wrote when it cannot write all.
void RecordingFile::add(const std::string& line) const {
  const off_t size = sizeOf(m_file, m_path);
  if (writeAll(m_file.get(), line) && retried([this] { return fsync(m_file.get()); }) == 0) return;
  Trouble trouble = fileTrouble(m_path, "cannot write it");
  if (retried([&] { return ftruncate(m_file.get(), size); }) != 0) {
    trouble.text += "; its last line may not be whole";
  }
  throw trouble;
}

void RecordingFile::append(const Call& call) const {
  const std::string line = lineOf(call);
  withLock(m_path, [&] {
    requireRecording(sizeOf(m_file, m_path));
    add(line);
  });
}

std::vector<Call> readRecording(const std::string& path) {
  std::istringstream lines(contentOf(path));
  std::string line;
  if (!std::getline(lines, line) || line + "\n" != kFirstLine) throw noRecording(path);
  std::vector<Call> calls;
  for (std::size_t number = 2; std::getline(lines, line); ++number) {
    const std::string place = path + ": line " + std::to_string(number) + ": ";
    if (lines.eof()) throw Trouble{kTroubled, place + "it is not whole"};
    try {
      calls.push_back(callOf(line));
    } catch (const std::exception& error) {
      throw Trouble{kTroubled, place + error.what()};
    }
  }
  return calls;
}

std::string positionFile(const std::string& path) { return path + ".position"; }

}  // namespace firecord

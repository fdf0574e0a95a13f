#include "playback.h"

#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <thread>

#include "output.h"
#include "recording.h"

namespace firecord {

namespace {

using Words = std::vector<std::string>;

constexpr std::size_t kMostCompared = 64;  // words of a call, when the nearest is looked for

// How many calls were played. The file begins with that number.
std::size_t readPosition(const Descriptor& file, const std::string& path, std::size_t most) {
  char text[32];
  const ssize_t got = retried([&] { return pread(file.get(), text, sizeof text, 0); });
  if (got < 0) throw fileTrouble(path, "cannot read it");
  if (got == 0) return 0;
  std::size_t position = 0;
  const auto [end, error] = std::from_chars(text, text + got, position);
  if (error == std::errc() && *end == '\n' && end + 1 == text + got && position <= most) {
    return position;
  }
  throw Trouble{kTroubled, path + ": this is no position in the recording; remove it"};
}

// A number is never shorter than the one before it.
void writePosition(const Descriptor& file, const std::string& path, std::size_t position) {
  const std::string text = std::to_string(position) + "\n";
  const ssize_t put = retried([&] { return pwrite(file.get(), text.data(), text.size(), 0); });
  if (put != static_cast<ssize_t>(text.size())) throw fileTrouble(path, "cannot write it");
}

// The number of words to put in, leave out or exchange to make one of the other.
std::size_t distance(const Words& a, const Words& b) {
  const std::size_t width = std::min(b.size(), kMostCompared);
  std::vector<std::size_t> row(width + 1);
  for (std::size_t j = 0; j <= width; ++j) row[j] = j;
  for (std::size_t i = 0; i < std::min(a.size(), kMostCompared); ++i) {
    std::size_t corner = std::exchange(row[0], i + 1);
    for (std::size_t j = 0; j < width; ++j) {
      const std::size_t exchanged = corner + (a[i] == b[j] ? 0 : 1);
      corner = row[j + 1];
      row[j + 1] = std::min({exchanged, corner + 1, row[j] + 1});
    }
  }
  return row[width];
}

// The call most like some arguments; of those that are alike the one that is played soonest.
std::size_t nearest(const std::vector<Call>& calls, std::size_t position, const Words& arguments) {
  std::size_t best = position % calls.size();
  std::size_t least = distance(calls[best].arguments, arguments);
  for (std::size_t i = 1; i < calls.size(); ++i) {
    const std::size_t index = (position + i) % calls.size();
    const std::size_t found = distance(calls[index].arguments, arguments);
    if (found < least) best = index;
    least = std::min(found, least);
  }
  return best;
}

std::string described(const std::vector<Call>& calls, std::size_t index) {
  return "call " + std::to_string(index + 1) + " of " + std::to_string(calls.size()) + ", " +
         shown(calls[index].arguments);
}

Trouble notRecorded(const std::vector<Call>& calls, std::size_t position, const Words& arguments) {
  std::string text = "not recorded: " + shown(arguments);
  if (calls.empty()) return {kNotRecorded, text + "; the recording holds no call"};
  text += position < calls.size() ? "; next is " + described(calls, position)
                                  : "; all calls were played";
  const std::size_t index = nearest(calls, position, arguments);
  if (index != position) text += "; nearest is " + described(calls, index);
  return {kNotRecorded, text};
}

// The next call, which from now on is played.
Call takeNext(const std::string& path, const Words& arguments) {
  Call next;
  withLock(path, [&] {
    std::vector<Call> calls = readRecording(path);
    const std::string place = positionFile(path);
    const Descriptor file = openOwn(place, 0);
    const std::size_t position = readPosition(file, place, calls.size());
    if (position == calls.size() || calls[position].arguments != arguments) {
      throw notRecorded(calls, position, arguments);
    }
    writePosition(file, place, position + 1);
    next = std::move(calls[position]);
  });
  return next;
}

}  // namespace

int playNext(const std::string& path, const Words& arguments, bool keepsTimes) {
  const auto start = std::chrono::steady_clock::now();
  const auto waitUntil = [&](int64_t milliseconds) {
    if (keepsTimes) std::this_thread::sleep_until(start + std::chrono::milliseconds(milliseconds));
  };
  const Call call = takeNext(path, arguments);
  for (const Piece& piece : call.output) {
    waitUntil(piece.at);
    const int target = piece.isError ? STDERR_FILENO : STDOUT_FILENO;
    if (!writeAll(target, piece.bytes)) throw fileTrouble("output", "cannot write it");
  }
  waitUntil(call.milliseconds);
  return call.exitStatus();
}

}  // namespace firecord

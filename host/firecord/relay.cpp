#include "relay.h"

#include <poll.h>

#include <algorithm>
#include <cstring>
#include <new>

#include "output.h"

namespace firecord {

namespace {

constexpr std::size_t kMostKept = std::size_t{64} << 20;
constexpr int64_t kAtOnce = 10;  // milliseconds

}  // namespace

void Relay::add(Descriptor source, int target, bool isError) {
  if (source) m_streams.push_back({std::move(source), target, isError});
}

void Relay::run() {
  while (!m_streams.empty()) {
    std::vector<pollfd> polled;
    for (const Stream& stream : m_streams) polled.push_back({stream.source.get(), POLLIN, 0});
    if (retried([&] { return poll(polled.data(), polled.size(), -1); }) < 0) {
      throw fileTrouble("output of the tool", "cannot wait for it");
    }
    for (std::size_t i = 0; i < polled.size(); ++i) {
      if (polled[i].revents != 0) passOn(m_streams[i]);
    }
    std::erase_if(m_streams, [](const Stream& stream) { return !stream.source; });
  }
}

void Relay::passOn(Stream& stream) {
  char block[65536];
  const ssize_t got = retried([&] { return read(stream.source.get(), block, sizeof block); });
  if (got < 0) throw fileTrouble("output of the tool", "cannot read it");
  const std::string_view bytes(block, static_cast<std::size_t>(got));
  try {
    keep(stream.isError, bytes);
  } catch (const std::bad_alloc&) {
    m_trouble = "no memory is left for its output";  // the tool goes on
  }
  if (got > 0 && writeAll(stream.target, bytes)) return;
  if (got > 0 && errno != EPIPE)
    m_trouble = std::string("output was lost: ") + std::strerror(errno);
  stream.source = Descriptor();
}

void Relay::keep(bool isError, std::string_view bytes) {
  m_size += bytes.size();
  if (m_size > kMostKept) m_trouble = "its output is longer than 64 MiB";
  if (bytes.empty() || m_size > kMostKept) return;
  const auto passed = std::chrono::steady_clock::now() - m_start;
  const int64_t now = std::chrono::duration_cast<std::chrono::milliseconds>(passed).count();
  const bool goesOn =
      !m_kept.empty() && m_kept.back().isError == isError && now - m_kept.back().at <= kAtOnce;
  if (!goesOn) m_kept.push_back({isError, now, ""});
  m_kept.back().bytes += bytes;
}

}  // namespace firecord

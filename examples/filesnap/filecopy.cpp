#include "filecopy.h"

#include <cfimsgdgst5.h>
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <vector>

namespace filesnap {

namespace {

constexpr std::size_t kPiece = std::size_t{1} << 20;
constexpr off_t kWriteOut = off_t{32} << 20;

struct Extent {
  off_t begin;
  off_t end;
};

// The next stretch of data from a place on; begin is size when only a hole follows. Without support
// for holes everything is data.
Extent nextData(const Descriptor& file, off_t from, off_t size) {
  const off_t begin = lseek(file.get(), from, SEEK_DATA);
  if (begin < 0) return errno == ENXIO ? Extent{size, size} : Extent{from, size};
  const off_t end = lseek(file.get(), begin, SEEK_HOLE);
  return {begin, end < 0 ? size : std::min(end, size)};
}

void resize(const Descriptor& file, off_t size) {
  checked("ftruncate", [&] { return ftruncate(file.get(), size); });
}

// A copy on its way.
class Copy {
 public:
  Copy(const Descriptor& source, const Descriptor& target, bool verify, const Progress& progress)
      : m_source(source), m_target(target), m_verify(verify), m_progress(progress) {}

  Copied run() {
    const off_t size = statusOf(m_source).st_size;
    resize(m_target, size);
    off_t done = 0;
    while (done < size) {
      const Extent data = nextData(m_source, done, size);
      addHole(data.begin - done);
      done = data.begin;
      while (done < data.end) {
        const std::size_t got = copyPiece(data.end - done, done);
        // Cut off meanwhile: so is the copy, and whoever asked for it sees that.
        if (got == 0) resize(m_target, done);
        if (got == 0) return result();
        done += static_cast<off_t>(got);
        m_progress(done);
      }
    }
    return result();
  }

 private:
  std::size_t copyPiece(off_t wanted, off_t at) {
    const std::size_t most = static_cast<std::size_t>(std::min<off_t>(wanted, kPiece));
    const std::size_t got = readAt(m_source, m_buffer.data(), most, at);
    writeAt(m_target, m_buffer.data(), got, at);
    writeOut(at + static_cast<off_t>(got));
    if (m_verify) verify(got, at);
    return got;
  }

  // The disk works while the next pieces are read. A failure is told by fsync.
  void writeOut(off_t end) {
    if (end - m_writtenOut < kWriteOut) return;
    sync_file_range(m_target.get(), m_writtenOut, end - m_writtenOut, SYNC_FILE_RANGE_WRITE);
    m_writtenOut = end;
  }

  void verify(std::size_t size, off_t at) {
    m_digest.Update(m_buffer.data(), size);
    m_back.resize(kPiece);
    std::size_t same = 0;
    while (same < size) {
      const std::size_t got =
          readAt(m_target, m_back.data(), size - same, at + static_cast<off_t>(same));
      if (got == 0 || std::memcmp(m_back.data(), m_buffer.data() + same, got) != 0) break;
      same += got;
    }
    m_isEqual = m_isEqual && same == size;
  }

  void addHole(off_t size) {
    if (!m_verify || size == 0) return;
    std::fill(m_buffer.begin(), m_buffer.end(), 0);
    for (off_t left = size; left > 0;) {
      const off_t part = std::min<off_t>(left, kPiece);
      m_digest.Update(m_buffer.data(), static_cast<unsigned long>(part));
      left -= part;
    }
  }

  Copied result() {
    if (!m_verify) return {};
    m_digest.Finalize();
    return {m_digest.GetAnsiMessageDigest(), m_isEqual};
  }

  const Descriptor& m_source;
  const Descriptor& m_target;
  const bool m_verify;
  const Progress& m_progress;
  std::vector<unsigned char> m_buffer = std::vector<unsigned char>(kPiece);
  std::vector<unsigned char> m_back;  // what was read back
  orca_pdk::CFiMessageDigest5 m_digest;
  bool m_isEqual = true;
  off_t m_writtenOut = 0;
};

}  // namespace

Copied cloneOrCopy(const Descriptor& source, const Descriptor& target, CopyMode mode, bool verify,
                   const Progress& progress) {
  if (mode != CopyMode::kCopy) {
    const int shared = retried([&] { return ioctl(target.get(), FICLONE, source.get()); });
    if (shared == 0) return {verify ? digestOf(target) : "", true};
    if (mode == CopyMode::kReflink) raise("reflink");
  }
  return Copy(source, target, verify, progress).run();
}

std::string digestOf(const Descriptor& file) {
  orca_pdk::CFiMessageDigest5 digest;
  std::vector<unsigned char> buffer(kPiece);
  off_t at = 0;
  while (const std::size_t got = readAt(file, buffer.data(), kPiece, at)) {
    digest.Update(buffer.data(), got);
    at += static_cast<off_t>(got);
  }
  digest.Finalize();
  return digest.GetAnsiMessageDigest();
}

}  // namespace filesnap

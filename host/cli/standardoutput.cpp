#include "cli/standardoutput.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <string.h>
#include <unistd.h>

#include <cstdio>
#include <iostream>

namespace fihost {

StandardOutput::StandardOutput(bool isAnswersAlone)
    : m_fd(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3)) {
  if (isAnswersAlone) dup2(STDERR_FILENO, STDOUT_FILENO);
}

StandardOutput::~StandardOutput() {
  if (m_fd >= 0) close(m_fd);
}

void StandardOutput::print(const std::string& answer) {
  if (m_isPrinted != 0) return;
  errno = EIO;
  const bool isFlushed = std::cout.flush().good() && std::fflush(stdout) == 0;
  if (!isFlushed || !printAtOnce(answer.data(), answer.size())) {
    if (isRead()) m_trouble = strerror(errno);
  }
}

// Only a pipe can tell that nobody reads it.
bool StandardOutput::isRead() const {
  pollfd state{m_fd, 0, 0};
  const int before = errno;
  const bool isBroken = poll(&state, 1, 0) > 0 && (state.revents & POLLERR) != 0;
  errno = before;
  return !isBroken;
}

bool StandardOutput::printAtOnce(const char* text, std::size_t size) {
  if (m_isPrinted != 0) return true;
  m_isPrinted = 1;
  for (std::size_t done = 0; done < size;) {
    const ssize_t written = write(m_fd, text + done, size - done);
    if (written < 0 && errno != EINTR) return false;
    if (written > 0) done += static_cast<std::size_t>(written);
  }
  return true;
}

}  // namespace fihost

#include "cli/standardoutput.h"

#include <errno.h>
#include <fcntl.h>
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
  std::cout.flush();
  std::fflush(stdout);
  printAtOnce(answer.data(), answer.size());
}

void StandardOutput::printAtOnce(const char* text, std::size_t size) {
  if (m_isPrinted != 0) return;
  m_isPrinted = 1;
  for (std::size_t done = 0; done < size;) {
    const ssize_t written = write(m_fd, text + done, size - done);
    if (written < 0 && errno != EINTR) return;
    if (written > 0) done += static_cast<std::size_t>(written);
  }
}

}  // namespace fihost

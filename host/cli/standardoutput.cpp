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
  std::cout.flush();
  std::fflush(stdout);
  std::size_t done = 0;
  while (done < answer.size()) {
    const ssize_t written = write(m_fd, answer.data() + done, answer.size() - done);
    if (written < 0 && errno != EINTR) return;
    if (written > 0) done += static_cast<std::size_t>(written);
  }
}

}  // namespace fihost

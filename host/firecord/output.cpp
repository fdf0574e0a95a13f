#include "output.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>

namespace firecord {

bool writeAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = write(fd, bytes.data(), bytes.size());
    if (written >= 0) {
      bytes.remove_prefix(static_cast<std::size_t>(written));
    } else if (errno == EAGAIN) {
      pollfd place{fd, POLLOUT, 0};
      if (poll(&place, 1, -1) < 0 && errno != EINTR) return false;
    } else if (errno != EINTR) {
      return false;
    }
  }
  return true;
}

void openStandardDescriptors() {
  for (int fd = 0; fd <= 2; ++fd) {
    if (fcntl(fd, F_GETFD) < 0) open("/dev/null", O_RDWR);  // takes the lowest number there is
  }
}

void surviveClosedPipes() {
  struct sigaction action {};
  sigaction(SIGPIPE, nullptr, &action);
  if (action.sa_handler == SIG_IGN) return;
  action.sa_handler = [](int) {};
  action.sa_flags = SA_RESTART;
  sigaction(SIGPIPE, &action, nullptr);
}

}  // namespace firecord

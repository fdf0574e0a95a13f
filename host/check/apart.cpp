#include "check/apart.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <nlohmann/json.hpp>
#include <system_error>
#include <thread>

#include "check/requirement.h"
#include "cli/endingsignals.h"
#include "cli/exitstatus.h"
#include "framework/currentoperation.h"
#include "framework/exceptions.h"

namespace fihost::check {

namespace {

using Clock = std::chrono::steady_clock;
using Json = nlohmann::json;

constexpr std::size_t kPage = 4096;
constexpr std::chrono::milliseconds kTick{1};

[[noreturn]] void throwErrno(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

Json outcomeOf(const std::function<std::string()>& work) {
  try {
    return {{"kind", Outcome::Passed}, {"text", work()}};
  } catch (const Broken& broken) {
    return {{"kind", Outcome::Failed}, {"text", broken.what}};
  } catch (const Skipped& skipped) {
    return {{"kind", Outcome::Skipped}, {"text", skipped.why}};
  } catch (const Problem& problem) {
    return {{"kind", Outcome::Failed}, {"text", problem.text}};
  } catch (...) {
    return {{"kind", Outcome::Failed}, {"text", "the check itself raised " + currentException()}};
  }
}

void writeAll(int fd, const std::string& text) {
  std::size_t done = 0;
  while (done < text.size()) {
    const ssize_t written = write(fd, text.data() + done, text.size() - done);
    if (written < 0 && errno != EINTR) return;
    if (written > 0) done += static_cast<std::size_t>(written);
  }
}

}  // namespace

Apart::Apart(const std::function<std::string()>& work) {
  void* const page =
      mmap(nullptr, kPage, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (page == MAP_FAILED) throwErrno("mmap");
  m_operation = static_cast<char*>(page);
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) throwErrno("pipe2");
  m_pipe = ends[0];
  const pid_t parent = getpid();
  m_process = fork();
  if (m_process < 0) throwErrno("fork");
  if (m_process == 0) {
    setpgid(0, 0);
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) _exit(1);
    perform(work, ends[1]);
  }
  setpgid(m_process, m_process);  // whichever of the two comes first
  close(ends[1]);
}

Apart::~Apart() {
  if (!m_status) {
    kill(-m_process, SIGKILL);
    reap();
  }
  close(m_pipe);
  munmap(m_operation, kPage);
}

void Apart::perform(const std::function<std::string()>& work, int fd) {
  // The host's own answer to them is not the plug-in's.
  for (const int number : kEndingSignals) signal(number, SIG_DFL);
  std::set_terminate(std::abort);
  CurrentOperation::showIn(m_operation, kPage);
  const Json outcome = outcomeOf(work);
  writeAll(fd, outcome.dump(-1, ' ', false, Json::error_handler_t::replace));
  _exit(0);
}

// Reads what comes; true when the process has ended, which what it left behind may outlive.
bool Apart::readUntil(Clock::time_point end) {
  for (;;) {
    // Asked before the pipe is looked at: what was written before the end must be read.
    const bool isOver = hasEnded();
    const std::chrono::nanoseconds left = std::min<Clock::duration>(end - Clock::now(), kTick);
    if (!isOver && left.count() <= 0) return false;
    const timespec time{0, isOver ? 0 : left.count()};
    pollfd pipe{m_isOpen ? m_pipe : -1, POLLIN, 0};
    if (ppoll(&pipe, 1, &time, nullptr) < 0 && errno != EINTR) throwErrno("ppoll");
    if ((pipe.revents & POLLIN) != 0) {
      char piece[4096];
      const ssize_t got = read(m_pipe, piece, sizeof piece);
      if (got > 0) m_answer.append(piece, static_cast<std::size_t>(got));
    } else if (isOver) {
      return true;
    } else if (pipe.revents != 0) {
      m_isOpen = false;
    }
  }
}

bool Apart::hasEnded() const {
  siginfo_t ended{};
  const int options = WEXITED | WNOHANG | WNOWAIT;
  return waitid(P_PID, static_cast<id_t>(m_process), &ended, options) == 0 &&
         ended.si_pid == m_process;
}

// What the process started and left behind ends with it.
void Apart::reap() {
  int status = 0;
  while (waitpid(m_process, &status, 0) < 0 && errno == EINTR) {
  }
  kill(-m_process, SIGKILL);
  m_status = status;
}

std::string Apart::howItEnded() const {
  std::string text;
  if (WIFSIGNALED(*m_status)) {
    const int number = WTERMSIG(*m_status);
    text = "crashed by signal " + std::to_string(number) + " (" + strsignal(number) + ")";
  } else {
    text = "ended the process by exit (" + std::to_string(WEXITSTATUS(*m_status)) + ")";
  }
  return std::string(m_operation[0] == '\0' ? "outside of any operation" : m_operation) + ": " +
         text;
}

Outcome Apart::wait(Milliseconds limit) {
  if (!readUntil(Clock::now() + limit)) {
    const std::string operation = m_operation[0] == '\0' ? "the check" : m_operation;
    kill(-m_process, SIGKILL);
    reap();
    return {Outcome::Failed, operation + ": did not come back within the time-out"};
  }
  reap();
  const Json answer = Json::parse(m_answer, nullptr, false);
  if (answer.is_discarded()) return {Outcome::Failed, howItEnded()};
  return {answer["kind"].get<Outcome::Kind>(), answer["text"]};
}

bool Apart::killDuring(const std::string& operation, std::chrono::microseconds time,
                       Milliseconds limit) {
  const Clock::time_point end = Clock::now() + limit;
  const std::string text = ", operation " + operation;
  while (strstr(m_operation, text.c_str()) == nullptr && !hasEnded() && Clock::now() < end) {
    std::this_thread::sleep_for(std::chrono::microseconds(20));
  }
  std::this_thread::sleep_for(time);
  const bool isAtIt = !hasEnded();
  kill(-m_process, SIGKILL);
  reap();
  return isAtIt;
}

std::string workApart(const std::function<std::string()>& work, Apart::Milliseconds limit) {
  Outcome outcome = Apart(work).wait(limit);
  if (outcome.kind == Outcome::Failed) throw Broken{outcome.text};
  if (outcome.kind == Outcome::Skipped) throw Skipped{outcome.text};
  return std::move(outcome.text);
}

}  // namespace fihost::check

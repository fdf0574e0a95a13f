#include "cficommand.h"

#include <sys/mman.h>

#include "hostops/exec_support.h"

namespace {

int memfdError = 0;  // the next calls fail with it

}  // namespace

extern "C" int memfd_create(const char* name, unsigned flags) noexcept {
  if (memfdError == 0) return orca_tests::realOf(memfd_create, "memfd_create")(name, flags);
  errno = memfdError;
  return -1;
}

namespace orca_tests {
namespace {

using orca_pdk::SFiCommand;
using orca_pdk::SFiCommandEnd;

class Command : public ExecTest {
 protected:
  // Outcome, status, what is said of the end, and the lines with "^" behind each.
  std::string endOf(const SFiCommand& command) const {
    const SFiCommandEnd end = command.run(m_log);
    std::string text =
        std::to_string(end.outcome) + "|" + std::to_string(end.status) + "|" + end.how;
    for (const std::string& line : end.lines) text += "|" + line;
    return text;
  }
};

TEST_F(Command, TellsWhatIsKnownOfItsEnd) {
  const std::string shell = "/bin/sh", how = "Command exited with status 3";
  const struct {
    SFiCommand command;
    std::string end;
  } cases[] = {
      {{{"/bin/echo", " a'\"\\", "", "\tb"}}, "0|0|| a'\"\\  \tb\n"},
      {{{"/bin/cat"}, "user\npass\n"}, "0|0||user\n|pass\n"},
      {{{shell, "-c", "echo no; exit 3"}}, "0|3|" + how + "|no\n"},
      {{{shell, "-c", "kill -9 $$"}}, "1|-1|Command terminated by signal 9"},
      {{{shell, "-c", "exec sleep 60"}, "", 0}, "1|-1|no sign of life for 0 seconds"},
      {{{"/bin/yes"}, "", 30, 100}, "1|-1|its output is longer than 100 bytes|y\n|y\n"},
      {{{"/bin/echo", std::string("a\0b", 3)}}, "2|-1|it could not be run: Invalid argument"},
      {{{"/no/tool"}}, "2|-1|the program is missing or not executable"}};
  for (const auto& [command, end] : cases) EXPECT_EQ(endOf(command), end) << command.text();
}

TEST_F(Command, IsNotRunWhereItCannotGetItsInput) {
  const SFiCommand command{{"/bin/cat"}, "secret"};
  memfdError = EMFILE;
  EXPECT_EQ(endOf(command), "2|-1|it could not be run: Too many open files");
  memfdError = 0;
  const ScopedEnv child("ORCA_CHILD_CONTEXT", "1");
  EXPECT_EQ(endOf(command), "3|-1|it would be run without its input");
  EXPECT_EQ(endOf({{"/bin/echo", "a"}}), "0|0|Command exited with status 0|a");
}

TEST_F(Command, QuotesTheLastLineWithoutItsSecret) {
  SFiCommandEnd end;
  EXPECT_EQ(end.lastLine(), "-");
  end.lines = {"first\n", "the pass\twas \xc3\xa4pass\n", "\n"};
  EXPECT_EQ(end.lastLine("pass"), "the ***?was ??***");
  end.lines = {std::string(300, 'x')};
  EXPECT_EQ(end.lastLine(), std::string(200, 'x'));
}

}  // namespace
}  // namespace orca_tests

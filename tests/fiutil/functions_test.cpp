#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <string>

#include "fiutil_accounting.h"
#include "support/temp_dir.h"

// The address sanitizer's allocator would end the program where calloc answers null.
extern "C" const char* __asan_default_options() { return "allocator_may_return_null=1"; }

namespace {

using orca_tests::ScopedEnv;
using orca_tests::TempDir;

struct Answer {
  int status;
  std::string output;  // the whole buffer, the NUL included
};

Answer run(const std::string& command) {
  char* output = reinterpret_cast<char*>(1);
  int length = -1;
  const int status = orca_exec_cmd_in_child_context(command.c_str(), &output, &length);
  Answer answer{status, std::string(output == nullptr ? "" : output, static_cast<size_t>(length))};
  orca_free_buf(output, static_cast<size_t>(length));
  return answer;
}

std::string withNul(const std::string& text) { return text + '\0'; }

size_t openDescriptors() {
  const std::filesystem::directory_iterator all("/proc/self/fd");
  return static_cast<size_t>(std::distance(begin(all), end(all)));
}

TEST(AllocBuf, HandsOutZeroedMemory) {
  auto* buffer = static_cast<char*>(orca_alloc_buf(64));
  EXPECT_EQ(std::string(buffer, 64), std::string(64, '\0'));
  orca_free_buf(buffer, 64);
}

TEST(AllocBuf, GivesNullWhenMemoryIsShort) {
  volatile size_t tooMuch = SIZE_MAX / 2;
  EXPECT_EQ(orca_alloc_buf(tooMuch), nullptr);
}

TEST(Objid, CopiesTheNameAndKeepsTheKind) {
  char name[] = "volume";
  orca_objid* id = orca_get_objid(name, sizeof name, 3);
  name[0] = 'X';
  EXPECT_STREQ(id->name, "volume");
  EXPECT_EQ(id->kind, 3);
  orca_free_objid(id);
  EXPECT_EQ(orca_get_objid(nullptr, 1, 3), nullptr);
}

TEST(Objid, ComparesNameAndKind) {
  char a[] = "a", alsoA[] = "a", b[] = "b";
  const orca_objid first{a, 3}, same{alsoA, 3}, otherName{b, 3}, otherKind{a, 4}, none{nullptr, 3};
  EXPECT_EQ(orca_objidcmp(&first, &same), 0);
  for (const orca_objid* other : {&otherName, &otherKind, &none}) {
    EXPECT_NE(orca_objidcmp(&first, other), 0);
  }
  EXPECT_NE(orca_objidcmp(nullptr, &first), 0);
  EXPECT_EQ(orca_objidcmp(nullptr, nullptr), 0);
}

TEST(InstallRoot, IsTheSettingOrNone) {
  for (const char* unset : {static_cast<const char*>(nullptr), ""}) {
    const ScopedEnv env("ORCA_INSTALL_ROOT", unset);
    char* root = reinterpret_cast<char*>(1);
    EXPECT_EQ(orca_get_install_root(&root), 0);
    EXPECT_EQ(root, nullptr);
  }
  const ScopedEnv env("ORCA_INSTALL_ROOT", "/opt/somewhere");
  orca_accounting_reset();
  char* root = nullptr;
  EXPECT_EQ(orca_get_install_root(&root), 0);
  EXPECT_STREQ(root, "/opt/somewhere");
  orca_free_buf(root, strlen(root) + 1);
  EXPECT_EQ(orca_accounting_report(nullptr, nullptr), 0u);
}

TEST(CredentialBlob, IsTheFileUpToItsFirstNulAndFollowsChanges) {
  const TempDir dir;
  const std::string file = dir.file("credentials");
  const ScopedEnv env("ORCA_CREDENTIALS", file.c_str());
  char* first = nullptr;
  char* again = nullptr;
  char* changed = nullptr;
  orca_tests::writeFile(file, std::string("[A]\nk=v\n\0hidden", 15));
  EXPECT_EQ(orca_get_credential_blob(&first), 0);
  EXPECT_STREQ(first, "[A]\nk=v\n");
  orca_get_credential_blob(&again);
  EXPECT_EQ(again, first);
  orca_tests::writeFile(file, "other");
  orca_get_credential_blob(&changed);
  EXPECT_STREQ(changed, "other");
  EXPECT_STREQ(first, "[A]\nk=v\n");
}

TEST(CredentialBlob, IsNoneWithoutAReadableFile) {
  const TempDir dir;
  const std::string missing = dir.file("missing");
  for (const char* path : {static_cast<const char*>(nullptr), "", missing.c_str(), "/"}) {
    const ScopedEnv env("ORCA_CREDENTIALS", path);
    char* text = reinterpret_cast<char*>(1);
    EXPECT_EQ(orca_get_credential_blob(&text), 0);
    EXPECT_EQ(text, nullptr) << (path == nullptr ? "unset" : path);
  }
}

TEST(ChildContext, IsOnOnlyForTheSettingOne) {
  const struct {
    const char* setting;
    int expected;
  } cases[] = {{nullptr, 0}, {"", 0}, {"0", 0}, {"1", 1}, {"10", 0}};
  for (const auto& c : cases) {
    const ScopedEnv env("ORCA_CHILD_CONTEXT", c.setting);
    EXPECT_EQ(orca_is_child_context(), c.expected) << (c.setting == nullptr ? "unset" : c.setting);
  }
}

TEST(ExecInChildContext, AnswersStatusAndBothStreams) {
  const struct {
    const char* command;
    int status;
    std::string output;
  } cases[] = {
      {"echo out; echo err >&2; exit 3", 3, withNul("out\nerr\n")},
      {"true", 0, ""},
      {"printf 'a\\000b'", 0, withNul(std::string("a\0b", 3))},
      {"cat", 0, ""},
      {"kill -TERM $$", 128 + SIGTERM, ""},
      {"/no/such/command 2>/dev/null", 127, ""},
      {"-x 2>/dev/null", 127, ""},
  };
  for (const auto& c : cases) {
    const Answer answer = run(c.command);
    EXPECT_EQ(answer.status, c.status) << c.command;
    EXPECT_EQ(answer.output, c.output) << c.command;
  }
}

TEST(ExecInChildContext, TakesNullsWithoutHarm) {
  int length = 7;
  char* output = nullptr;
  EXPECT_EQ(orca_exec_cmd_in_child_context(nullptr, &output, &length), -1);
  EXPECT_EQ(length, 0);
  EXPECT_EQ(orca_exec_cmd_in_child_context("echo x; exit 2", nullptr, nullptr), 2);
}

TEST(ExecInChildContext, CarriesAHundredMebibytes) {
  const size_t size = 100u << 20;
  orca_accounting_reset();
  const Answer answer = run("head -c 104857600 /dev/zero | tr '\\000' x");
  EXPECT_EQ(answer.status, 0);
  EXPECT_TRUE(answer.output == withNul(std::string(size, 'x')));
  EXPECT_EQ(orca_accounting_report(nullptr, nullptr), 0u);
}

TEST(ExecInChildContext, GivesTheCommandDefaultSignalsWhenTheHostIgnoresThem) {
  const auto oldChild = signal(SIGCHLD, SIG_IGN);
  const auto oldPipe = signal(SIGPIPE, SIG_IGN);
  const Answer answer = run("sh -c 'exit 4'; echo $?; sh -c 'kill -PIPE $$'; echo $?");
  signal(SIGCHLD, oldChild);
  signal(SIGPIPE, oldPipe);
  EXPECT_EQ(answer.status, 0);
  EXPECT_EQ(answer.output, withNul("4\n141\n"));
}

TEST(ExecInChildContext, GoesOnAfterInterruptedCalls) {
  struct sigaction action {};
  action.sa_handler = [](int) {};
  struct sigaction old {};
  sigaction(SIGUSR1, &action, &old);
  const std::string parent = std::to_string(getpid());
  const Answer answer =
      run("for i in 1 2 3; do kill -USR1 " + parent + "; sleep 0.02; done; echo done");
  sigaction(SIGUSR1, &old, nullptr);
  EXPECT_EQ(answer.status, 0);
  EXPECT_EQ(answer.output, withNul("done\n"));
}

TEST(ExecInChildContext, LeavesNoDescriptorOpen) {
  const size_t before = openDescriptors();
  run("true");
  run("/no/such/command");
  orca_exec_cmd_in_child_context(nullptr, nullptr, nullptr);
  EXPECT_EQ(openDescriptors(), before);
}

TEST(ExecInChildContext, WorksWhenTheHostHasClosedItsStandardStreams) {
  EXPECT_EXIT(
      {
        for (int fd = 0; fd <= 2; ++fd) close(fd);
        _exit(run("cat; echo out; echo err >&2").output == withNul("out\nerr\n") ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

}  // namespace

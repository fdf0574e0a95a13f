#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <string>

#include "fiutil_accounting.h"
#include "support/temp_dir.h"

namespace {

using orca_tests::ScopedEnv;
using orca_tests::TempDir;

// Runs a command: its status, a colon and the whole buffer, the NUL shown as '$'.
std::string run(const std::string& command) {
  char* output = reinterpret_cast<char*>(1);
  int length = -1;
  orca_accounting_reset();
  const int status = orca_exec_cmd_in_child_context(command.c_str(), &output, &length);
  std::string answer(output == nullptr ? "" : output, static_cast<size_t>(length));
  if (!answer.empty() && answer.back() == '\0') answer.back() = '$';
  orca_free_buf(output, static_cast<size_t>(length));
  EXPECT_EQ(orca_accounting_report(nullptr, nullptr), 0u) << command;
  return std::to_string(status) + ':' + answer;
}

size_t openDescriptors() {
  const std::filesystem::directory_iterator all("/proc/self/fd");
  return static_cast<size_t>(std::distance(begin(all), end(all)));
}

TEST(AllocBuf, HandsOutZeroedMemory) {
  auto* buffer = static_cast<char*>(orca_alloc_buf(64));
  EXPECT_EQ(std::string(buffer, 64), std::string(64, '\0'));
  orca_free_buf(buffer, 64);
}

TEST(Objid, CopiesTheNameKeepsTheKindAndComparesBoth) {
  char name[] = "volume", same[] = "volume", other[] = "volum";
  orca_objid* id = orca_get_objid(name, sizeof name, 3);
  name[0] = 'X';
  const orca_objid equal{same, 3}, otherName{other, 3}, otherKind{same, 4}, none{nullptr, 3};
  EXPECT_EQ(orca_objidcmp(id, &equal), 0);
  for (const orca_objid* unequal : {&otherName, &otherKind, &none}) {
    EXPECT_NE(orca_objidcmp(id, unequal), 0);
  }
  EXPECT_NE(orca_objidcmp(nullptr, id), 0);
  EXPECT_EQ(orca_objidcmp(nullptr, nullptr), 0);
  orca_free_objid(id);
  EXPECT_EQ(orca_get_objid(nullptr, 1, 3), nullptr);
}

TEST(InstallRoot, IsTheSettingOrNone) {
  orca_accounting_reset();
  for (const char* setting : {"", "/opt/somewhere"}) {
    const ScopedEnv env("ORCA_INSTALL_ROOT", setting);
    char* root = reinterpret_cast<char*>(1);
    EXPECT_EQ(orca_get_install_root(&root), 0);
    EXPECT_STREQ(root, *setting == '\0' ? nullptr : setting);
    orca_free_buf(root, strlen(setting) + 1);
  }
  EXPECT_EQ(orca_accounting_report(nullptr, nullptr), 0u);
}

TEST(CredentialBlob, IsTheFileUpToItsFirstNulAndFollowsChanges) {
  const TempDir dir;
  const std::string file = dir.file("credentials");
  const ScopedEnv env("ORCA_CREDENTIALS", file.c_str());
  char *none = reinterpret_cast<char*>(1), *first = nullptr, *again = nullptr, *changed = nullptr;
  EXPECT_EQ(orca_get_credential_blob(&none), 0);
  EXPECT_EQ(none, nullptr) << "no such file";
  orca_tests::writeFile(file, std::string("[A]\nk=v\n\0hidden", 15));
  EXPECT_EQ(orca_get_credential_blob(&first), 0);
  orca_get_credential_blob(&again);
  EXPECT_EQ(again, first);
  orca_tests::writeFile(file, "other");
  orca_get_credential_blob(&changed);
  EXPECT_STREQ(changed, "other");
  EXPECT_STREQ(first, "[A]\nk=v\n");
}

TEST(CredentialBlob, IsNeitherAFifoNorADevice) {
  const TempDir dir;
  ASSERT_EQ(mkfifo(dir.file("fifo").c_str(), 0600), 0);
  for (const std::string& path : {dir.file("fifo"), std::string("/dev/zero")}) {
    const ScopedEnv env("ORCA_CREDENTIALS", path.c_str());
    char* text = nullptr;
    EXPECT_EQ(orca_get_credential_blob(&text), -1) << path;
  }
}

TEST(ChildContext, IsOnOnlyForTheSettingOne) {
  for (const char* setting : {"", "0", "1", "10"}) {
    const ScopedEnv env("ORCA_CHILD_CONTEXT", setting);
    EXPECT_EQ(orca_is_child_context(), strcmp(setting, "1") == 0) << setting;
  }
}

TEST(ExecInChildContext, AnswersStatusAndBothStreamsAndLeavesNoDescriptorOpen) {
  const size_t before = openDescriptors();
  EXPECT_EQ(run("echo out; echo err >&2; exit 3"), "3:out\nerr\n$");
  EXPECT_EQ(run("printf 'a\\000b'"), std::string("0:a\0b$", 6));
  EXPECT_EQ(run("cat"), "0:") << "no input";
  EXPECT_EQ(run("kill -TERM $$"), "143:");
  EXPECT_EQ(run("-x 2>/dev/null"), "127:");
  EXPECT_EQ(run("head -c 1048576 /dev/zero | tr '\\000' x"),
            "0:" + std::string(1 << 20, 'x') + '$');
  int length = 7;
  char* output = nullptr;
  EXPECT_EQ(orca_exec_cmd_in_child_context(nullptr, &output, &length), -1);
  EXPECT_EQ(length, 0);
  EXPECT_EQ(orca_exec_cmd_in_child_context("echo x; exit 2", nullptr, nullptr), 2);
  EXPECT_EQ(openDescriptors(), before);
}

TEST(ExecInChildContext, KeepsNoMoreThan16MebibytesOfOutput) {
  const std::string most(1 << 24, 'x');
  const std::string write = "head -c 16777216 /dev/zero | tr '\\000' x";
  EXPECT_TRUE(run(write) == "0:" + most + '$');
  EXPECT_TRUE(run(write + "; yes") == "-1:" + most + '$');
}

TEST(ExecInChildContext, WorksWhenTheHostIgnoresSignalsIsInterruptedAndHasNoStandardStreams) {
  const auto check = [] {
    struct sigaction interrupt {};
    interrupt.sa_handler = [](int) {};
    sigaction(SIGUSR1, &interrupt, nullptr);
    for (const int ignored : {SIGCHLD, SIGPIPE}) signal(ignored, SIG_IGN);
    for (int fd = 0; fd <= 2; ++fd) close(fd);
    const std::string kill = "kill -USR1 " + std::to_string(getpid()) + "; sleep 0.02; ";
    const std::string signals = "sh -c 'exit 4'; echo $?; sh -c 'kill -PIPE $$'; echo $?; ";
    _exit(run(kill + kill + signals + "cat; echo e >&2") == "0:4\n141\ne\n$" ? 0 : 1);
  };
  EXPECT_EXIT(check(), testing::ExitedWithCode(0), "");
}

}  // namespace

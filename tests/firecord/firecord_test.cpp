#include <gmock/gmock.h>
#include <sys/stat.h>

#include <chrono>

#include "secrets.h"
#include "support/run_command.h"
#include "support/temp_dir.h"

namespace orca_tests {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using Words = std::vector<std::string>;

constexpr char kFirstLine[] = "{\"firecord\":1}\n";

std::string callLine(const std::string& arguments, const std::string& output = "",
                     int milliseconds = 0) {
  return R"({"time":"","milliseconds":)" + std::to_string(milliseconds) +
         R"(,"tool":"t","arguments":[)" + arguments + R"(],"output":[)" + output +
         "],\"status\":0}\n";
}

class FiRecord : public testing::Test {
 protected:
  CommandResult run(Words words, const Words& more) const {
    words.insert(words.begin(), FIRECORD_PROGRAM);
    words.insert(words.end(), more.begin(), more.end());
    return runCommand(words);
  }
  CommandResult record(const Words& tool) const { return run({"--to", m_file, "--"}, tool); }
  CommandResult play(const Words& arguments) const {
    return run({"--from", m_file, "--"}, arguments);
  }
  // A command line of the shell, in which $0 is the program and $1 the recording.
  CommandResult shell(const std::string& line) const {
    return runCommand({"/bin/sh", "-c", line, FIRECORD_PROGRAM, m_file});
  }

  TempDir m_dir;
  const std::string m_file = m_dir.file("recording");
};

std::string told(const CommandResult& result) {
  return std::to_string(result.status) + "\n" + result.out + "\n" + result.err;
}

TEST_F(FiRecord, AnswersLikeTheToolAndPlaysThatBackInOrder) {
  const Words calls[] = {
      {"-c", "echo out; echo err >&2; exit 3"},
      {"-c", "printf 'a\\0\\377b\\303'; printf '\\244\\n'; exit 255"},
      {"-c", "echo cut; kill -9 $$"},
      {"-c", "printf '%s|' \"$@\"", "", "two words", "--to", "--", "\xff\n", "-x"},
      {"-c", "head -c 300000 /dev/zero; echo end >&2"},
      {"-c", "exit 0"}};
  std::vector<std::string> answers;
  for (const Words& call : calls) {
    Words tool = call;
    tool.insert(tool.begin(), "/bin/sh");
    answers.push_back(told(runCommand(tool)));
    EXPECT_EQ(told(record(tool)), answers.back()) << call[1];
  }
  struct stat status {};
  EXPECT_EQ(stat(m_file.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0600U);
  for (std::size_t i = 0; i < std::size(calls); ++i) {
    EXPECT_EQ(told(play(calls[i])), answers[i]) << calls[i][1];
  }
}

TEST_F(FiRecord, KeepsTheOrderOfStandardOutputAndErrorWhereOneFileGetsBoth) {
  const std::string tool = "for i in $(seq 200); do echo out $i; echo err $i >&2; done";
  const CommandResult result = shell("\"$0\" --to $1 -- sh -c '" + tool + "' 2>&1");
  EXPECT_EQ(result.out, runCommand({"sh", "-c", "exec 2>&1; " + tool}).out);
  EXPECT_EQ(shell("\"$0\" --from $1 -- -c '" + tool + "' 2>&1").out, result.out);
}

TEST_F(FiRecord, PassesStandardInputOnAndDoesNotWriteItDown) {
  EXPECT_EQ(shell("echo pass-word | \"$0\" --to $1 -- wc -c").out, "10\n");
  EXPECT_THAT(readFile(m_file), Not(HasSubstr("pass-word")));
}

TEST_F(FiRecord, HidesSecretsInArgumentsAndOutput) {
  writeFile(m_dir.file("words"), "in-file\n\nin-\n");
  const ScopedEnv words("FIRECORD_SECRETS", "in-environment\n");
  const Words secrets{"--secret", "in option", "--secret-file", m_dir.file("words")};
  Words arguments{"-c", "echo ${FIRECORD_SECRETS-gone} $1 >&2; echo $2", "in option", "in-file!",
                  "in-environment"};
  Words tool = arguments;
  tool.insert(tool.begin(), {"--to", m_file, "--", "sh"});
  EXPECT_EQ(told(run(secrets, tool)), "0\nin-environment\n\ngone in-file!\n");
  EXPECT_THAT(readFile(m_file), AllOf(HasSubstr(R"("***","***!","***"],)"),
                                      HasSubstr(R"("gone ***!\n")"), HasSubstr(R"("***\n")")));
  arguments.insert(arguments.begin(), {"--from", m_file, "--"});
  EXPECT_EQ(run(secrets, arguments).out, "***\n");
}

TEST(Secrets, AreHiddenWhereTheyComeInPieces) {
  const firecord::Secrets secrets({"word", "words", "", "er"});
  firecord::Call call;
  call.output = {{false, 0, "a wo"}, {true, 1, "wor"}, {false, 2, "r"},
                 {false, 3, "ds b"}, {true, 4, "d e"}, {true, 5, "r"}};
  secrets.hide(call);
  std::string seen;
  for (const auto& piece : call.output) seen += piece.bytes + "|";
  EXPECT_EQ(seen, "a ***|***|| b| ***||");
}

TEST_F(FiRecord, ShowsTheNearestCallOfOneThatWasNotRecorded) {
  writeFile(m_file, kFirstLine + callLine(R"("list")", R"({"at":0,"out":"1"})") +
                        callLine(R"("map","D0","h\u001b")") + callLine(R"("unmap","D0")"));
  const std::pair<Words, const char*> cases[] = {
      {{"map", "D1", "x"},
       R"(["map","D1","x"]; next is call 1 of 3, ["list"]; nearest is call 2 of 3, ["map","D0","h\u001b"])"},
      {{"map", "D0"},
       R"(["map","D0"]; next is call 1 of 3, ["list"]; nearest is call 2 of 3, ["map","D0","h\u001b"])"},
      {{"list", "E1"}, R"(["list","E1"]; next is call 1 of 3, ["list"])"},
      {{}, R"([]; next is call 1 of 3, ["list"])"}};
  for (const auto& [arguments, text] : cases) {
    const CommandResult result = play(arguments);
    EXPECT_EQ(result.status, 124);
    EXPECT_EQ(result.err, std::string("firecord: not recorded: ") + text + "\n");
  }
  EXPECT_EQ(play({"list"}).out, "1") << "a call that was not recorded leaves the position";
  play({"map", "D0", "h\x1b"});
  play({"unmap", "D0"});
  EXPECT_EQ(play({"list"}).err,
            "firecord: not recorded: [\"list\"]; all calls were played; nearest is call 1 of 3, "
            "[\"list\"]\n");
}

TEST_F(FiRecord, NamesTheLineOfARecordingThatIsNoCall) {
  const std::string good = callLine("");
  const std::pair<std::string, const char*> cases[] = {
      {"", "line 1: this is no recording"},
      {"text\n", "line 1: this is no recording"},
      {kFirstLine + good + "garbage\n" + good, "line 3: "},
      {kFirstLine + good + "\n", "line 3: "},
      {kFirstLine + good + good.substr(0, 30), "line 3: it is not whole"},
      {kFirstLine + std::string("[]\n"), "line 2: "},
      {kFirstLine + callLine("7"), "line 2: "},
      {kFirstLine + callLine(R"({"hex":"0"})"), "line 2: \"hex\" is no row of pairs of digits"},
      {kFirstLine + callLine("", R"({"at":-1,"out":""})"), "line 2: \"at\" is no number from 0"},
      {kFirstLine + callLine("", "", -5), "line 2: \"milliseconds\" is no number"}};
  for (const auto& [content, text] : cases) {
    writeFile(m_file, content);
    const CommandResult result = play({});
    EXPECT_EQ(result.status, 125) << content;
    EXPECT_THAT(result.err, HasSubstr(m_file + ": " + text));
    EXPECT_EQ(readFile(m_file), content);
  }
  writeFile(m_file, kFirstLine + good);
  for (const char* position : {"2\n", "-1\n", "1", "x"}) {
    writeFile(m_file + ".position", position);
    chmod((m_file + ".position").c_str(), 0600);
    EXPECT_THAT(play({}).err, HasSubstr("recording.position: this is no position")) << position;
  }
}

TEST_F(FiRecord, RunsNoToolWhereItCannotRecord) {
  const std::string victim = m_dir.file("victim");
  const std::tuple<const char*, std::string, const char*> cases[] = {
      {"ln -s victim recording", "", "it is a link"},
      {"ln -s nowhere recording", "", "it is a link"},
      {"mkfifo recording", "", "it is no regular file"},
      {"mkdir recording", "", "cannot open it: Is a directory"},
      {"cp victim recording; chmod 620 recording", "", "other users can write it"},
      {"cp victim recording", "text\n", "line 1: this is no recording"},
      {"cp victim recording", std::string(kFirstLine) + "{", "its last line is not whole"}};
  for (const auto& [make, content, text] : cases) {
    writeFile(victim, content);
    ASSERT_EQ(
        runCommand({"sh", "-c", "cd $0 && rm -rf recording && " + std::string(make), m_dir.str()})
            .status,
        0);
    const CommandResult result = record({"touch", m_dir.file("ran")});
    EXPECT_EQ(result.status, 125) << make;
    EXPECT_THAT(result.err, HasSubstr("recording: " + std::string(text)));
    EXPECT_EQ(readFile(victim), content);
    EXPECT_FALSE(std::filesystem::exists(m_dir.file("ran"))) << make;
  }
}

TEST_F(FiRecord, SaysThatACallIsNotRecordedAndKeepsTheFileWhole) {
  record({"true"});
  const std::string before = readFile(m_file);
  const std::string full = "trap '' XFSZ; ulimit -f 1; ";
  const CommandResult result =
      shell(full + "\"$0\" --to $1 -- sh -c 'head -c 5000 /dev/zero; exit 4' >/dev/null");
  EXPECT_EQ(result.status, 125);
  EXPECT_THAT(result.err, HasSubstr("firecord: the tool ended with status 4, but its call is not "
                                    "recorded: " +
                                    m_file + ": cannot write it: File too large"));
  EXPECT_EQ(readFile(m_file), before);
  EXPECT_THAT(shell("\"$0\" --to $1 -- echo text >/dev/full").err,
              HasSubstr("not recorded: output was lost: No space left on device"));
  EXPECT_EQ(readFile(m_file), before);
}

TEST_F(FiRecord, TellsAToolThatCannotBeRunAsAShellDoes) {
  EXPECT_EQ(record({m_dir.file("none")}).status, 127);
  EXPECT_EQ(record({"/etc/passwd"}).status, 126);
  EXPECT_EQ(readFile(m_file), kFirstLine);
}

TEST_F(FiRecord, GivesTheToolTheSignalsThatItGets) {
  const std::string tool =
      "trap 'echo told; exit 7' TERM; kill -TERM $PPID; sleep 20 >&- 2>&- & wait";
  const CommandResult result = record({"sh", "-c", tool});
  EXPECT_EQ(result.status, 7);
  EXPECT_EQ(result.out, "told\n");
}

TEST_F(FiRecord, DoesNotLeaveTheToolBehindWhenItIsKilled) {
  const CommandResult result = shell(
      "\"$0\" --to $1 -- sh -c 'kill -9 $PPID; sleep 20 3>&-; echo alive >&3' 3>&1 >/dev/null | "
      "cat");
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(readFile(m_file), kFirstLine);
}

TEST_F(FiRecord, EndsTheToolWhoseOutputNobodyReads) {
  shell("\"$0\" --to $1 -- sh -c 'exec head -c 1G /dev/zero' | head -c 2");
  EXPECT_THAT(readFile(m_file), testing::EndsWith("\"signal\":13}\n"));
}

TEST_F(FiRecord, LosesNoCallOfProcessesThatRunAtTheSameTime) {
  shell("for i in 0 1 2 3 4 5 6 7; do \"$0\" --to $1 -- echo same & done; wait");
  EXPECT_EQ(shell("for i in 0 1 2 3 4 5 6 7; do \"$0\" --from $1 same & done; wait").out,
            "same\nsame\nsame\nsame\nsame\nsame\nsame\nsame\n");
  EXPECT_EQ(play({"same"}).status, 124);
}

TEST_F(FiRecord, WaitsForAProcessThatWorksOnTheSameRecording) {
  record({"true"});
  EXPECT_EQ(shell("flock $1.lock timeout -s KILL 0.2 \"$0\" --from $1").status, 137);
  EXPECT_EQ(shell("flock $1.lock timeout -s KILL 0.2 \"$0\" --to $1 true").status, 137);
  EXPECT_EQ(play({}).status, 0);
  EXPECT_EQ(play({}).status, 124);
}

TEST_F(FiRecord, IsSlowOnDemandOnly) {
  writeFile(m_file, kFirstLine + callLine("", R"({"at":60000,"out":"1"})", 70000) +
                        callLine("", R"({"at":20,"out":"2"})", 40));
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(play({}).out, "1");
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(60));
  const auto second = std::chrono::steady_clock::now();
  EXPECT_EQ(run({"--times", "--from", m_file}, {}).out, "2");
  EXPECT_GE(std::chrono::steady_clock::now() - second, std::chrono::milliseconds(40));
}

TEST_F(FiRecord, LeavesTheWordsBehindItsOwnOptionsAlone) {
  writeFile(m_file, kFirstLine);
  for (const char* first : {"list", "--state=x", "--state", "-hx", "", "--"}) {
    const CommandResult result = run({"--from", m_file, first}, {"--times", "--", "-h"});
    EXPECT_THAT(result.err, HasSubstr(R"("--times","--","-h"];)")) << first;
  }
}

TEST_F(FiRecord, RefusesACommandLineThatMakesNoSense) {
  for (const Words& words : {Words{}, Words{"--to", "a", "--from", "b"}, Words{"--to", m_file},
                             Words{"--to", m_file, "--times", "true"}, Words{"--from", ""}}) {
    EXPECT_EQ(run(words, {}).status, 125);
  }
}

}  // namespace
}  // namespace orca_tests

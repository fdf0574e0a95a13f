#ifndef ORCA_PDK_CFIEXECPIPE_H
#define ORCA_PDK_CFIEXECPIPE_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "cfiexecpipebase.h"
#include "cfiexport.h"

namespace orca_pdk_4_4 {

// Runs commands as child processes.
//
// A command text is split at blanks and tabs. Single and double quotes hold a stretch together, in
// which nothing else is special; outside quotes a backslash makes the next character literal. The
// first word is the path of the program: there is no search, and no shell.
//
// The program finds its input as standard input, one pipe as standard output and standard error, a
// locale of "C" and empty values of CDPATH, EDITOR, ENV, FPATH and IFS; all else is the host's. A
// program that cannot be started counts as one that ended with status 1.
//
// Once ExecPipe has succeeded, Close must be called; Exec and ExecMain do so, except after a
// time-out (Exec then only when the object was made to). An object that goes, or starts another
// command, with its command still running closes the output and leaves the process: a zombie from
// its end on, until the host waits for it (waitpid) or ends. Close(0) before that ends it.
class ORCA_PDK_API CFiExecPipePosix : public CFiExecPipeBase {
 public:
  explicit CFiExecPipePosix(int closeAfterExec);
  CFiExecPipePosix(std::vector<std::string> list, int closeAfterExec);
  ~CFiExecPipePosix() override;

  // Starts a command; once it has started, what is left of an earlier one is let go. With a
  // standard-input file the child opens it while the caller goes on, however long that takes. arg
  // is kept for derived classes.
  int ExecPipe(std::string command, std::string arg) override;
  // After timeout seconds the child receives SIGTERM, after as many again, but 30 at most, SIGKILL;
  // after a third period of that length it counts as hung. -1 for that, when there is no child, and
  // when its status is lost because the process ignores SIGCHLD.
  int WaitPid(long timeout) override;
  // Harmless when there is nothing to close.
  int Close(long timeout) override;
  // timeout counts from the last output. The end of the output, a failure and a time-out close it.
  bool ReadLine(char* buffer, int size, unsigned char* timedOut, long timeout) override;
  // Asks the framework.
  bool IsChildContext() override;
  // Runs the command in the framework's child context and returns its status. Appends the lines of
  // its output without their newlines; empty lines are left out. -1 also when memory is short for
  // the lines; those that found room are there.
  int ExecCommandInChildContext(std::string command, std::vector<std::string>& output) override;
  // No child, no pipe, no arguments.
  void Init() override;

 protected:
  // Splits a command text into the argument vector. False for an unclosed quote, a backslash at the
  // end, a text without words, and when memory is short.
  bool ParseCommand(const char* text);
  // Appends a word of the command text without its quotes, or with null the end of the vector.
  bool AddArgument(const char* start, std::size_t length);
  // The argument vector, with a null at its end after a successful ParseCommand.
  char* const* getArguments() const;
  // The second argument of the last ExecPipe.
  const std::string& getArgument() const;

 private:
  struct Output;

  bool growArguments();
  void clearArguments();
  void letGo();
  int startCommand();
  int failStart(int code, int error);
  int pipeFailed(int error);
  int forkFailed(const int (&ends)[2], int error);

  bool takeBuffered(Output& line);
  bool refill(unsigned char& timedOut, long timeout);
  bool waitForOutput(long timeout) const;
  void closeReadEnd();
  void keepLines(std::string_view text, std::vector<std::string>& output);

  bool waitPeriod(long timeout, int& status);
  bool isReaped(int& status);
  void sendSignal(int period);
  int closeFailed(int pipe, int error);
  int statusResult(int status, int result);

  static constexpr int kReadSize = 512;

  int m_pid = -1;
  char m_readBuffer[kReadSize];
  int m_readCount = 0;
  int m_readPosition = 0;
  int m_pipe = -1;
  int m_argumentCount = 0;
  int m_argumentCapacity = 0;
  char** m_arguments = nullptr;
  std::string m_command;
  std::string m_argument;
};

}  // namespace orca_pdk_4_4

#endif

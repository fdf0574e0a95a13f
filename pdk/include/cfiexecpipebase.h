#ifndef ORCA_PDK_CFIEXECPIPEBASE_H
#define ORCA_PDK_CFIEXECPIPEBASE_H

#include <atomic>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "cfiexport.h"
#include "cfitraceable.h"
#include "cfitypes.h"

namespace orca_pdk_4_4 {

// Results of running a command.
enum EFiExecResult : int {
  FI_EXEC_OK = 0,                 // success
  FI_EXEC_PIPE_FAILED = 1,        // no pipe could be made
  FI_EXEC_CLOSE_FAILED = 3,       // the pipe could not be closed
  FI_EXEC_FORK_FAILED = 4,        // no process could be made
  FI_EXEC_TIMED_OUT = 5,          // no output within the time-out
  FI_EXEC_BAD_COMMAND = 6,        // the command text could not be split, or found no memory
  FI_EXEC_NOT_EXECUTABLE = 7,     // the first argument is not executable
  FI_EXEC_WAIT_FAILED = 8,        // waiting for the child failed, or its output found no memory
  FI_EXEC_EXIT_STATUS = 11,       // the child ended with a status other than 0
  FI_EXEC_SIGNALLED = 12,         // a signal ended the child
  FI_EXEC_UNEXPECTED_STATUS = 13  // the child was stopped, or another status
};

// The record of a failure of command execution.
struct ORCA_PDK_API EFiExecPipe {
  std::string message;       // for codes 6 and 7 the command text
  std::wstring wideMessage;  // the same as wide text
  int code = FI_EXEC_OK;     // an EFiExecResult
};

// Runs an external command, collects its output line by line and ends it: the logic apart from the
// operating system's own means, which a derived class adds.
//
// Failures come back as an EFiExecResult, stay in the last error until the next failure, and are
// traced. Nothing is thrown, short memory included; the last error may then lack its message.
//
// Threads: one at a time, except for Abort, which may be called from any thread or signal handler.
class ORCA_PDK_API CFiExecPipeBase : public CFiTraceable {
 public:
  // With closeAfterExec other than 0, Exec also closes what is left of the command.
  explicit CFiExecPipeBase(int closeAfterExec);
  // The list is kept for derived classes.
  CFiExecPipeBase(std::vector<std::string> list, int closeAfterExec);
  ~CFiExecPipeBase() override;

  // Starts a command. arg is accepted for derived classes.
  virtual int ExecPipe(std::string command, std::string arg) = 0;
  // Waits for the end of the command, at most timeout seconds before it is forced. Returns the raw
  // wait status, or -1.
  virtual int WaitPid(long timeout) = 0;
  // Closes the command's output and waits for its end as WaitPid does.
  virtual int Close(long timeout) = 0;
  // Reads one line of the command's output into buffer, which has room for size bytes: the line
  // with its newline, or as much of it as fits, and a terminating NUL. timedOut is set to 1 when
  // there was no output for timeout seconds, else to 0. Returns false when there was nothing to
  // deliver.
  virtual bool ReadLine(char* buffer, int size, unsigned char* timedOut, long timeout) = 0;
  // True once Abort was called.
  virtual bool IsAbortRequested();
  // True when commands must be handed to the framework instead of being started here; here false.
  virtual bool IsChildContext();
  // Hands a command to the framework and appends its output to output. Here nothing is run and the
  // answer is -1.
  virtual int ExecCommandInChildContext(std::string command, std::vector<std::string>& output);
  // Runs a command to its end. output is emptied once the command has started and receives its
  // lines, standard output and standard error as they arrive, each with its newline; of a line over
  // 8190 bytes, the pieces. stdinFile is the command's standard input, "/dev/null" when empty.
  // timeout is the longest silence in seconds; when it is over, the answer is 5 and the command is
  // left to Close. Output stops early when Abort was called or the output limit is reached; the
  // command is closed then, and the answer is how it ended. The last three are kept for derived
  // classes.
  virtual int ExecMain(std::string command, std::vector<std::string>& output, std::string stdinFile,
                       unsigned long timeout, std::string arg5, std::string arg6, std::string arg7);
  // ExecMain, and then Close when the object was made so; the result is that of ExecMain.
  virtual int Exec(std::string command, std::vector<std::string>& output, std::string stdinFile,
                   unsigned long timeout, std::string arg5, std::string arg6, std::string arg7);
  // Asks ExecMain to stop before the next line. There is no way back: an object that was aborted
  // stops every later command at once.
  virtual void Abort();
  // Puts the object into its first state; here there is nothing to do.
  virtual void Init();

  // A copy of the record of the last failure; a success leaves it as it was.
  EFiExecPipe getLastError() const;

  // The bytes that the output of one command may take, each line with sizeof(std::string) for
  // itself; without this call there is no limit. The first line that goes past it is not kept and
  // acts as Abort does, so that IsAbortRequested tells that output is missing.
  void setOutputLimit(std::size_t bytes);

 protected:
  // Stores the last error.
  void setLastError(std::string_view message, int code);
  // The standard input file of the command; empty for "/dev/null".
  const std::string& getStdinFile() const;
  // What the constructor and ExecMain were given and this class has no use for.
  const std::vector<std::string>& getList() const;
  const std::string& getArgument6() const;
  const std::string& getArgument7() const;
  // Says how long the line is that ReadLine returns, so that ExecMain keeps NUL bytes within it.
  // Without this call a line ends at its first NUL.
  void setLineLength(std::size_t length);
  // Appends a line to output. kept counts the bytes that the command has put there, from 0. False
  // when the line would go past the output limit: Abort was then called.
  bool keepLine(std::string_view line, std::vector<std::string>& output, std::size_t& kept);

 private:
  bool collectLines(std::vector<std::string>& output, unsigned long timeout);

  std::atomic<bool> m_abort{false};
  std::vector<std::string> m_list;
  EFiExecPipe m_lastError;
  std::string m_argument6;
  std::string m_argument7;
  std::string m_stdinFile;
  bool m_closeAfterExec;
  std::size_t m_lineLength;
  std::size_t m_outputLimit;
};

// Sleeps for that many milliseconds, also when signals arrive. Where the system cannot sleep for
// less than a second, for the next whole number of seconds above.
ORCA_PDK_API void millisleep(long ms);

}  // namespace orca_pdk_4_4

#endif

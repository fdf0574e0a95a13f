#ifndef FIHOST_CLI_STANDARDOUTPUT_H
#define FIHOST_CLI_STANDARDOUTPUT_H

#include <signal.h>

#include <string>

namespace fihost {

// Standard output as the place of the answer. Where it has to be the answer's alone, what anybody
// else prints there goes to standard error from the construction on.
class StandardOutput {
 public:
  explicit StandardOutput(bool isAnswersAlone);
  ~StandardOutput();
  StandardOutput(const StandardOutput&) = delete;
  StandardOutput& operator=(const StandardOutput&) = delete;

  // Prints the answer, after all that was printed before it. Only the first call prints.
  void print(const std::string& answer);
  // Why not all was printed; empty where it was, or where nobody reads it any more.
  const std::string& trouble() const { return m_trouble; }
  // The same without a look at what was printed before; safe in a signal handler. False when it
  // could not, with the cause in errno.
  bool printAtOnce(const char* text, std::size_t size);

 private:
  bool isRead() const;

  int m_fd;  // the real standard output
  std::string m_trouble;
  volatile sig_atomic_t m_isPrinted = 0;
};

}  // namespace fihost

#endif

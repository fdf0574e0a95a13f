#ifndef FIHOST_TRACE_RECORDER_H
#define FIHOST_TRACE_RECORDER_H

#include <string>
#include <vector>

#include "files/descriptor.h"
#include "trace/event.h"
#include "trace/form.h"

namespace fihost {

// Writes what is done to a provider as a session file: each operation when it begins, so that the
// last one is there also when it never ends, and then what it answered as expectations. Outputs
// that another run may have otherwise are left out; of lists of such the number is kept.
class Recorder : public CallObserver {
 public:
  // `session` is the beginning of the ids of this run's own sessions, which a file need not name.
  // Throws a Problem for a file that exists already or cannot be made.
  Recorder(const std::string& path, std::string session);

  void loaded(const std::string& plugin) override;
  void begins(const Call& call) override;
  void ended(const Call& call) override;
  void failed(const Failure& failure) override;

  // Why the file is not whole; empty when it is.
  const std::string& trouble() const { return m_trouble; }

 private:
  void write(const std::string& line);
  void writeSession(const Call& call);
  void expectAnswer(const Call& call);
  void expectOutput(const Call& call, const NamedValue& output);
  std::string operation(const Call& call) const;
  std::string settings(const Call& call, const Form& form) const;
  std::string argument(const Call& call, const Place& place) const;
  std::string refer(const Place& place, const std::string& text) const;

  Descriptor m_file;
  std::string m_path;
  std::string m_ownSession;
  std::string m_session;  // of the operations from here on
  std::string m_trouble;
  std::string m_message;  // the last error that was asked for, as it travels
  std::vector<std::string> m_snapshots;
};

}  // namespace fihost

#endif

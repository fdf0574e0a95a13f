#ifndef ORCA_SWEEP_RECORD_WORK_H
#define ORCA_SWEEP_RECORD_WORK_H

#include <gmock/gmock.h>

#include "support/run_command.h"
#include "support/temp_dir.h"
#include "support/traced_work.h"

namespace orca_tests {

// A recording of two calls, to which a third is added, or whose first is played back. The tool
// prints its arguments and ends with 3.
class FiRecordWork : public testing::Test {
 protected:
  FiRecordWork() {
    record("1");
    record("2");
    std::filesystem::rename(m_file, m_template);
  }

  void begin() const {
    for (const auto& entry : std::filesystem::directory_iterator(m_dir.path())) {
      if (entry.path() != m_template) std::filesystem::remove(entry.path());
    }
    std::filesystem::copy(m_template, m_file);
  }
  std::vector<std::string> recording(const std::string& word) const {
    return {FIRECORD_PROGRAM, "--to", m_file, "--", "/bin/sh", "-c", m_script, word};
  }
  std::vector<std::string> playing(const std::string& word) const {
    return {FIRECORD_PROGRAM, "--from", m_file, "--", "-c", m_script, word};
  }
  TracedWork traced(std::vector<std::string> command) const {
    return {std::move(command), m_dir.str() + "/"};
  }
  void record(const std::string& word) const {
    const CommandResult result = runCommand(recording(word));
    EXPECT_EQ(result.status, 3) << result.err;
  }
  // Plays calls back; returns what they printed.
  std::string played(const std::string& words) const {
    std::string text;
    for (const char word : words) text += runCommand(playing({word})).out;
    return text;
  }

  TempDir m_dir;
  const std::string m_file = m_dir.file("recording");
  const std::filesystem::path m_template = m_dir.path() / "template";
  const std::string m_script = "echo $0; exit 3";
};

}  // namespace orca_tests

#endif

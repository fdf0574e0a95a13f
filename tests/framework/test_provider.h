#ifndef ORCA_TESTS_FRAMEWORK_TEST_PROVIDER_H
#define ORCA_TESTS_FRAMEWORK_TEST_PROVIDER_H

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "cfipluginbase.h"
#include "cfitracelog.h"
#include "support/temp_dir.h"

namespace orca_tests {

using Texts = std::vector<std::string>;

// Collects what an error manager receives: traced lines as "LEVEL text", and ids of messages.
class Recorder : public orca_pdk::CFiErrorHandlerBase {
 public:
  void handleMessage(orca_pdk::CFiMessagePtr message) override {
    messages.push_back(message->getMessageId());
  }
  void handleText(char* text, pyx_eseverity severity) override {
    static constexpr const char* kLevels[] = {"?", "3 ", "2 ", "1 ", "6 "};
    std::string line = text;
    line.erase(0, line.find("<Thread id - 1> ") + 16);
    line.pop_back();
    lines.push_back(kLevels[severity] + line);
  }
  // The lines since the last call, without those of entry and exit.
  Texts takeBody() {
    Texts body = std::exchange(lines, Texts());
    std::erase_if(body, [](const std::string& line) {
      return line.starts_with("6 Entering Function") || line.starts_with("6 Exiting Function");
    });
    return body;
  }

  Texts lines;
  Texts messages;
};

// A trace log of its own, whose lines reach a recorder.
class TracedTest : public ::testing::Test {
 protected:
  TracedTest() {
    std::filesystem::create_directories(m_root.path() / "lib/orca/configfiles");
    m_errors->registerHandler(&m_recorder);
    m_log->registerErrorManager(m_errors.get());
    m_log->initialize("unit", m_root.str().c_str(), "unit.log", 6, false);
  }

  TempDir m_root;
  ScopedEnv m_env{"ORCA_INSTALL_ROOT", m_root.str().c_str()};
  Recorder m_recorder;
  orca_pdk::CFiErrorManagerPtr m_errors{new orca_pdk::CFiErrorManager};
  orca_pdk::CFiTraceLogPtr m_log{new orca_pdk::CFiTraceLog};
};

class TestProvider : public orca_pdk::CFiPluginBase {
 public:
  using CFiPluginBase::firstConfigInfoList;
  using CFiPluginBase::secondConfigInfoList;
};

// A provider that traces and has a private data map, and a node named "node" that it does not know.
template <typename Provider>
class ProviderTestOf : public TracedTest {
 protected:
  ProviderTestOf() {
    m_provider.registerTraceLog(m_log);
    m_provider.registerErrorManager(m_errors);
    m_provider.registerPrivateDataManager(m_nodes);
    m_node.objid = &m_id;
  }

  Provider m_provider;
  orca_pdk::CFiPrivateDataManagerPtr m_nodes{new orca_pdk::CFiPrivateDataMap};
  char m_name[5] = "node";
  orca_objid m_id{m_name, 3};
  pyx_domain m_node{};
};

using ProviderTest = ProviderTestOf<TestProvider>;

}  // namespace orca_tests

#endif

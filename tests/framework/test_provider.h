#ifndef ORCA_TESTS_FRAMEWORK_TEST_PROVIDER_H
#define ORCA_TESTS_FRAMEWORK_TEST_PROVIDER_H

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "cfipluginbase.h"
#include "cfiprivatedata.h"
#include "cfitracelog.h"
#include "support/temp_dir.h"

namespace orca_tests {

using Texts = std::vector<std::string>;

// Adds descriptions whose defaults are their names; answers the document of descriptions.
inline std::string describe(orca_pdk::CFiConfigParamInfoList& list, const Texts& names) {
  for (const std::string& name : names) {
    list.params[name].key = list.params[name].defaultValue = name;
  }
  list.updateXML();
  return list.getXML().c_str();
}

// The value document with these names, each its own value.
inline std::string values(const Texts& names) {
  orca_pdk::CFiConfigParamInfoList list;
  describe(list, names);
  return list.getDefaultDataList().getXML().c_str();
}

// Collects the traced lines that an error manager receives, as "LEVEL text".
class Recorder : public orca_pdk::CFiErrorHandlerBase {
 public:
  void handleMessage(orca_pdk::CFiMessagePtr) override {}
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
};

// Has the descriptions of the base until it is given a list of its own.
class TestProvider : public orca_pdk::CFiPluginBase {
 public:
  using CFiPluginBase::firstConfigInfoList;
  using CFiPluginBase::secondConfigInfoList;
  orca_pdk::CFiConfigParamInfoList* globalConfigInfoList(int index, bool primary) override {
    return list != nullptr ? list : CFiPluginBase::globalConfigInfoList(index, primary);
  }
  orca_pdk::CFiConfigParamInfoList* list = nullptr;
};

// A provider with a trace log, whose lines reach a recorder, and a private data map; and a node
// named "node" that it does not know.
template <typename Provider>
class ProviderTestOf : public ::testing::Test {
 protected:
  ProviderTestOf() {
    std::filesystem::create_directories(m_root.path() / "lib/orca/configfiles");
    m_errors->registerHandler(&m_recorder);
    m_log->registerErrorManager(m_errors.get());
    m_log->initialize("unit", m_root.str().c_str(), "unit.log", 6, false);
    m_provider.registerTraceLog(m_log);
    m_provider.registerErrorManager(m_errors);
    m_provider.registerPrivateDataManager(m_nodes);
    m_node.objid = &m_id;
  }

  TempDir m_root;
  ScopedEnv m_env{"ORCA_INSTALL_ROOT", m_root.str().c_str()};
  Recorder m_recorder;
  orca_pdk::CFiErrorManagerPtr m_errors{new orca_pdk::CFiErrorManager};
  orca_pdk::CFiTraceLogPtr m_log{new orca_pdk::CFiTraceLog};
  Provider m_provider;
  orca_pdk::CFiPrivateDataManagerPtr m_nodes{new orca_pdk::CFiPrivateDataMap};
  char m_name[5] = "node";
  orca_objid m_id{m_name, 3};
  pyx_domain m_node{};
};

using PluginTest = ProviderTestOf<TestProvider>;

}  // namespace orca_tests

#endif

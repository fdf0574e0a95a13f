#ifndef ORCA_TESTS_TRACE_RECORDER_H
#define ORCA_TESTS_TRACE_RECORDER_H

#include <string>

#include "cfierrormgr.h"
#include "cfitracelog.h"
#include "support/private_usr.h"
#include "support/temp_dir.h"

namespace orca_tests {

// A trace log in an empty private /usr/tarn that keeps what reaches its error manager: a line for
// each message, "severity message". Without a private /usr/tarn it makes nothing and stays off.
struct TraceRecorder : orca_pdk_4_4::CFiErrorHandlerBase {
  explicit TraceRecorder(const orca_pdk_4_4::tstr& component = "rec", int level = 6) {
    if (!isUsrPrivate()) return;
    for (const char* folder : {"keystone", "lib"}) {
      std::filesystem::remove_all(std::filesystem::path("/usr/tarn") / folder);
    }
    std::filesystem::create_directories("/usr/tarn/keystone/logs/frzcmd");
    std::filesystem::create_directories("/usr/tarn/lib/orca/configfiles");
    log->initialize(component, "", "", level, false);  // makes the settings and stays off
    log->initialize(component, "", "", level, false);
    manager.registerHandler(this);
    log->registerErrorManager(&manager);
  }
  ~TraceRecorder() override { log->registerErrorManager(nullptr); }

  void handleMessage(orca_pdk_4_4::CFiMessagePtr) override {}
  void handleText(char* text, pyx_eseverity severity) override {
    last = text;
    messages += std::to_string(severity) + " " + last.substr(last.find("> ") + 2);
  }

  orca_pdk_4_4::CFiTraceLogPtr log{new orca_pdk_4_4::CFiTraceLog};
  orca_pdk_4_4::CFiErrorManager manager;
  std::string messages;
  std::string last;  // the whole line
};

}  // namespace orca_tests

#endif

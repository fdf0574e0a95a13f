#include "parameters.h"

namespace filesnap {

using namespace orca_pdk;

namespace {

CopyMode modeOf(const std::string& value) {
  if (value == "auto") return CopyMode::kAuto;
  return value == "reflink" ? CopyMode::kReflink : CopyMode::kCopy;
}

}  // namespace

const CFiParameters& parameters() {
  static const Parameters kDefaults;
  static const CFiParameters kAll =
      CFiParameters()
          .addText("snapshot_dir", "FILESNAP_PARAM_SNAPSHOT_DIR", ".filesnap")
          .addChoice("copy_mode", "FILESNAP_PARAM_COPY_MODE", "auto", {"auto", "reflink", "copy"})
          .addNumber("keep", "FILESNAP_PARAM_KEEP", kDefaults.keep, 1, 64)
          .addFlag("verify", "FILESNAP_PARAM_VERIFY", kDefaults.verify)
          .addFlag("deep", "FILESNAP_PARAM_DEEP", kDefaults.deep);
  return kAll;
}

Parameters readParameters(const CFiConfigParamDataList& values) {
  Parameters chosen;
  chosen.read(parameters(), values);
  chosen.mode = modeOf(parameters().text(values, "copy_mode"));
  chosen.verify = parameters().flag(values, "verify");
  chosen.deep = parameters().flag(values, "deep");
  return chosen;
}

}  // namespace filesnap

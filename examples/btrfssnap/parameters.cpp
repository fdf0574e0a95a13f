#include "parameters.h"

namespace btrfssnap {

using namespace orca_pdk;

const CFiParameters& parameters() {
  static const Parameters kDefaults;
  static const CFiParameters kAll =
      CFiParameters()
          .addText("snapshot_dir", "BTRFSSNAP_PARAM_SNAPSHOT_DIR", ".btrfssnap")
          .addText("name", "BTRFSSNAP_PARAM_NAME", kDefaults.pattern)
          .addNumber("keep", "BTRFSSNAP_PARAM_KEEP", kDefaults.keep, 1, 64)
          .addFlag("writable", "BTRFSSNAP_PARAM_WRITABLE", kDefaults.isWritable)
          .addFlag("keep_replaced", "BTRFSSNAP_PARAM_KEEP_REPLACED", kDefaults.keepReplaced);
  return kAll;
}

Parameters readParameters(const CFiConfigParamDataList& values) {
  Parameters chosen;
  chosen.read(parameters(), values);
  chosen.pattern = parameters().text(values, "name");
  if (chosen.pattern.empty() || chosen.pattern.find('/') != std::string::npos) {
    throw refused({"name", chosen.pattern, "%n, %s, %t, text without \"/\""});
  }
  chosen.isWritable = parameters().flag(values, "writable");
  chosen.keepReplaced = parameters().flag(values, "keep_replaced");
  return chosen;
}

}  // namespace btrfssnap

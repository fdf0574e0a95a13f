#include "keeping.h"

namespace samples {

namespace fs = std::filesystem;

void Keeping::read(const orca_pdk::CFiParameters& parameters,
                   const orca_pdk::CFiConfigParamDataList& values) {
  parameters.requireAllowed(values);
  directory = parameters.text(values, "snapshot_dir");
  if (directory.empty()) throw orca_pdk::refused({"snapshot_dir", "", "/path, path"});
  keep = static_cast<int>(parameters.number(values, "keep"));
}

fs::path snapshotFolder(const fs::path& source, const Keeping& keeping) {
  return withMessage(messageId("DIR_FAILED"), keeping.directory, [&] {
    const fs::path beside = placeOf(source).parent_path();
    const fs::path path = (beside / keeping.directory).lexically_normal();
    return path.has_filename() ? path : path.parent_path();  // without a "/" at the end
  });
}

}  // namespace samples

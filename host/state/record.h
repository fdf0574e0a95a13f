#ifndef FIHOST_STATE_RECORD_H
#define FIHOST_STATE_RECORD_H

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace fihost {

// A snapshot that the host knows.
struct SnapshotRecord {
  std::string name;           // the provider's name for it
  std::string node;           // the node that it was taken of
  std::string session;        // id of the session that took it
  std::string provider;       // name of the provider
  std::string plugin;         // path of the plug-in
  std::string taken;          // when, UTC
  std::string values;         // the ConfigValueList it was taken with; may be empty
  std::string providerState;  // the provider's own state of the node, any bytes; may be empty

  // As the list shows it: bytes that are no UTF-8 travel as numbers. fromJson throws an exception
  // of nlohmann::json for what toJson did not make.
  nlohmann::ordered_json toJson() const;
  static SnapshotRecord fromJson(const nlohmann::ordered_json& json);
};
using SnapshotRecords = std::vector<SnapshotRecord>;

}  // namespace fihost

#endif

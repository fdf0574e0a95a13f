#include "state/record.h"

#include <cstdint>

namespace fihost {

using Json = nlohmann::ordered_json;

namespace {

// The texts of a record by their names in the list.
struct Field {
  const char* name;
  std::string SnapshotRecord::*text;
};
constexpr Field kFields[] = {
    {"name", &SnapshotRecord::name},       {"node", &SnapshotRecord::node},
    {"session", &SnapshotRecord::session}, {"provider", &SnapshotRecord::provider},
    {"plugin", &SnapshotRecord::plugin},   {"taken", &SnapshotRecord::taken},
    {"values", &SnapshotRecord::values},   {"provider_state", &SnapshotRecord::providerState},
};

// JSON text is UTF-8; bytes that are not travel as numbers.
Json encode(const std::string& text) {
  try {
    static_cast<void>(Json(text).dump());
    return text;
  } catch (const Json::type_error&) {
    return {{"bytes", std::vector<std::uint8_t>(text.begin(), text.end())}};
  }
}

std::string decode(const Json& json) {
  if (json.is_string()) return json.get<std::string>();
  const auto bytes = json.at("bytes").get<std::vector<std::uint8_t>>();
  return std::string(bytes.begin(), bytes.end());
}

}  // namespace

Json SnapshotRecord::toJson() const {
  Json json = Json::object();
  for (const Field& field : kFields) json[field.name] = encode(this->*field.text);
  return json;
}

SnapshotRecord SnapshotRecord::fromJson(const Json& json) {
  SnapshotRecord record;
  for (const Field& field : kFields) record.*field.text = decode(json.at(field.name));
  return record;
}

}  // namespace fihost

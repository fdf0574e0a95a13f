#include "call.h"

#include <nlohmann/json.hpp>
#include <stdexcept>

namespace firecord {

namespace {

using Json = nlohmann::ordered_json;

constexpr char kDigits[] = "0123456789abcdef";
constexpr int64_t kLongest = int64_t{1000} * 60 * 60 * 24 * 365;

bool isUtf8(const std::string& bytes) {
  try {
    return !Json(bytes).dump().empty();
  } catch (const Json::type_error&) {
    return false;
  }
}

Json jsonOf(const std::string& bytes) {
  if (isUtf8(bytes)) return bytes;
  std::string digits;
  for (const char c : bytes) {
    const auto byte = static_cast<uint8_t>(c);
    digits += {kDigits[byte >> 4], kDigits[byte & 15]};
  }
  return Json::object({{"hex", digits}});
}

unsigned digit(char c) {
  const auto value = std::string_view(kDigits).find(c);
  if (value > 15) throw std::runtime_error("\"hex\" is no row of pairs of digits");
  return static_cast<unsigned>(value);
}

std::string bytesOf(const Json& json) {
  if (json.is_string()) return json;
  const std::string& digits = json.at("hex").get_ref<const std::string&>();
  std::string bytes;
  for (std::size_t i = 0; i < digits.size(); i += 2) {
    bytes += static_cast<char>(digit(digits[i]) << 4 | digit(digits[i + 1]));
  }
  return bytes;
}

// A whole number between two others.
int64_t numberOf(const Json& json, const char* key, int64_t least, int64_t most) {
  const Json& value = json.at(key);
  const bool isIn =
      value.is_number_unsigned() && value <= static_cast<uint64_t>(most) && value >= least;
  if (isIn) return value;
  throw std::runtime_error("\"" + std::string(key) + "\" is no number from " +
                           std::to_string(least) + " to " + std::to_string(most));
}

Piece pieceOf(const Json& json) {
  const bool isError = json.contains("err");
  return {isError, numberOf(json, "at", 0, kLongest), bytesOf(json.at(isError ? "err" : "out"))};
}

}  // namespace

std::string lineOf(const Call& call) {
  Json json{{"time", call.time},
            {"milliseconds", call.milliseconds},
            {"tool", jsonOf(call.tool)},
            {"arguments", Json::array()},
            {"output", Json::array()}};
  for (const std::string& word : call.arguments) json["arguments"].push_back(jsonOf(word));
  for (const Piece& piece : call.output) {
    json["output"].push_back(
        {{"at", piece.at}, {piece.isError ? "err" : "out", jsonOf(piece.bytes)}});
  }
  if (call.signal == 0) {
    json["status"] = call.status;
  } else {
    json["signal"] = call.signal;
  }
  return json.dump() + "\n";
}

Call callOf(const std::string& line) {
  const Json json = Json::parse(line);
  Call call;
  call.time = json.at("time");
  call.milliseconds = numberOf(json, "milliseconds", 0, kLongest);
  call.tool = bytesOf(json.at("tool"));
  for (const Json& word : json.at("arguments")) call.arguments.push_back(bytesOf(word));
  for (const Json& piece : json.at("output")) call.output.push_back(pieceOf(piece));
  if (json.contains("signal")) {
    call.signal = static_cast<int>(numberOf(json, "signal", 1, 127));
  } else {
    call.status = static_cast<int>(numberOf(json, "status", 0, 255));
  }
  return call;
}

std::string shown(const std::vector<std::string>& arguments) {
  return Json(arguments).dump(-1, ' ', true, Json::error_handler_t::replace);
}

}  // namespace firecord

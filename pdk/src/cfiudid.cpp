#include "cfiudid.h"

#include <string_view>
#include <utility>

#include "cfistringtool.h"

namespace orca_pdk_4_4 {

namespace {

constexpr std::string_view kMarker = "UDID##";
constexpr std::string_view kSeparator = "##";

// Cuts the text before the next separator off the rest; false when there is no separator.
bool takeField(std::string_view& rest, std::string& field) {
  const std::size_t end = rest.find(kSeparator);
  if (end == std::string_view::npos) return false;
  field = rest.substr(0, end);
  rest.remove_prefix(end + kSeparator.size());
  return true;
}

}  // namespace

CFiUdidException::CFiUdidException(std::string failedText, int32_t reason)
    : text(std::move(failedText)), code(reason) {}
CFiUdidException::CFiUdidException(const CFiUdidException&) = default;
CFiUdidException& CFiUdidException::operator=(const CFiUdidException&) = default;
CFiUdidException::~CFiUdidException() = default;

CFiUdid::CFiUdid(const tstr& text) { parse(CFiStringTool::tstr2str(text)); }
CFiUdid::~CFiUdid() = default;

void CFiUdid::parse(const std::string& text) {
  m_first.clear();
  m_second.clear();
  m_enclosure.clear();
  m_device.clear();
  const std::size_t marker = text.find(kMarker);
  if (marker == std::string::npos) throw CFiUdidException(text, FI_UDID_NO_MARKER);
  std::string_view rest = std::string_view(text).substr(marker + kMarker.size());
  if (!takeField(rest, m_first)) throw CFiUdidException(text, FI_UDID_ONE_FIELD);
  if (!takeField(rest, m_second)) throw CFiUdidException(text, FI_UDID_TWO_FIELDS);
  if (rest.empty()) throw CFiUdidException(text, FI_UDID_NO_DEVICE);
  if (takeField(rest, m_enclosure)) m_fourField = true;
  m_device = rest;
}

const std::string& CFiUdid::getFirst() const { return m_first; }
const std::string& CFiUdid::getSecond() const { return m_second; }
const std::string& CFiUdid::getEnclosure() const { return m_enclosure; }
const std::string& CFiUdid::getDevice() const { return m_device; }
bool CFiUdid::isFourField() const { return m_fourField; }
void CFiUdid::setDevice(const std::string& device) { m_device = device; }

std::string CFiUdid::toString() const {
  std::string text(kMarker);
  for (const std::string* field : {&m_first, &m_second, &m_enclosure}) {
    text.append(*field).append(kSeparator);
  }
  return CFiStringTool::tostrupper(text + m_device);
}

}  // namespace orca_pdk_4_4

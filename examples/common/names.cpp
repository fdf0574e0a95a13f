#include "names.h"

namespace samples {

std::string timeText(std::time_t time) {
  std::tm parts = {};
  gmtime_r(&time, &parts);
  char text[32];
  std::strftime(text, sizeof text, "%Y%m%dT%H%M%SZ", &parts);
  return text;
}

std::string shortened(std::string text) {
  constexpr std::size_t kLongest = 200;
  if (text.size() <= kLongest) return text;
  std::size_t end = kLongest;
  while (end > 0 && (text[end] & 0xC0) == 0x80) --end;
  text.resize(end);
  return text;
}

}  // namespace samples

#include "vtime.h"

#include <cerrno>

#include "V_strings.h"

namespace {

constexpr size_t kTextSize = 26;

bool fits(size_t size) {
  if (size >= kTextSize) return true;
  errno = ERANGE;
  return false;
}

struct tm* deliver(const struct tm* result, struct tm* out) {
  if (result == nullptr) return nullptr;
  *out = *result;
  return out;
}

}  // namespace

time_t V_timegm(struct tm* time) { return time == nullptr ? -1 : timegm(time); }

struct tm* V_gmtime(const time_t* time, struct tm* out) {
  if (time == nullptr || out == nullptr) return nullptr;
  struct tm result;
  return deliver(gmtime_r(time, &result), out);
}

struct tm* V_localtime(const time_t* time, struct tm* out) {
  if (time == nullptr || out == nullptr) return nullptr;
  tzset();
  struct tm result;
  return deliver(localtime_r(time, &result), out);
}

char* V_asctime(const struct tm* time, char* buf, size_t size) {
  if (!fits(size) || time == nullptr || buf == nullptr) return nullptr;
  char own[kTextSize];
  const char* text = asctime_r(time, own);
  // Only the C library's own buffer has room for a year of five digits.
  if (text == nullptr) text = asctime(time);
  if (text == nullptr) return nullptr;
  V_strlcpy(buf, text, size);
  return buf;
}

char* V_ctime(const time_t* time, char* buf, size_t size) {
  struct tm local;
  if (!fits(size) || V_localtime(time, &local) == nullptr) return nullptr;
  return V_asctime(&local, buf, size);
}

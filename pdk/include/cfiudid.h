#ifndef ORCA_PDK_CFIUDID_H
#define ORCA_PDK_CFIUDID_H

#include <cstdint>
#include <string>

#include "cfiexport.h"
#include "cfitypes.h"

namespace orca_pdk_4_4 {

// Why a text is no device identifier.
enum EFiUdidReason : int32_t {
  FI_UDID_NO_DEVICE = 1,    // nothing follows the second separator
  FI_UDID_NO_MARKER = 2,    // the marker "UDID##" is missing
  FI_UDID_ONE_FIELD = 3,    // no separator after the first field
  FI_UDID_TWO_FIELDS = 4,   // no separator after the second field
  FI_UDID_UNSAFE_FIELD = 5  // as a path it would lead out of the cache directory
};

// Thrown for a text that is no device identifier.
struct ORCA_PDK_API CFiUdidException {
  CFiUdidException(std::string failedText, int32_t reason);
  CFiUdidException(const CFiUdidException&);
  CFiUdidException& operator=(const CFiUdidException&);
  ~CFiUdidException();

  std::string text;  // the whole text
  int32_t code;      // an EFiUdidReason
};

// A unique device identifier: the marker "UDID##", then three or four fields separated by "##":
// first, second, enclosure (missing in the three-field form) and device. Text before the marker is
// ignored; the device field runs to the end.
class ORCA_PDK_API CFiUdid {
 public:
  // Parses a text; throws CFiUdidException.
  explicit CFiUdid(const tstr& text);
  ~CFiUdid();
  CFiUdid(const CFiUdid&) = default;
  CFiUdid& operator=(const CFiUdid&) = default;

  // Replaces the fields by those of a text; throws CFiUdidException, the fields then partly set.
  // The four-field flag is never cleared.
  void parse(const std::string& text);

  const std::string& getFirst() const;
  const std::string& getSecond() const;
  // Empty in the three-field form.
  const std::string& getEnclosure() const;
  const std::string& getDevice() const;
  // True once a text with four fields was parsed.
  bool isFourField() const;
  void setDevice(const std::string& device);
  // The identifier in upper case, always with four fields: "UDID##A##B####C" without an enclosure.
  std::string toString() const;

 private:
  std::string m_first;
  std::string m_second;
  std::string m_enclosure;
  std::string m_device;
  std::string m_spare;  // always empty; providers are compiled with its place in the object
  bool m_fourField = false;
};

}  // namespace orca_pdk_4_4

#endif

#include "cfixstringtool.h"

#include <unicode/ustring.h>

#include <cstdlib>
#include <xercesc/util/XMLException.hpp>
#include <xercesc/util/XMLString.hpp>

#include "cfixerces.h"

namespace orca_pdk_4_4 {
namespace {

int32_t utf8Length(const XMLCh* text) {
  int32_t length = 0;
  UErrorCode status = U_ZERO_ERROR;
  u_strToUTF8(nullptr, 0, &length, text, -1, &status);
  const bool measured = U_SUCCESS(status) || status == U_BUFFER_OVERFLOW_ERROR;
  return measured ? length : 0;
}

}  // namespace

XMLCh* CFiXStringTool::unicodeForm(const char* text) {
  try {
    return withMemory([text] { return xercesc::XMLString::transcode(text); });
  } catch (const xercesc::XMLException&) {
    return nullptr;
  }
}

char* CFiXStringTool::asciiForm(const XMLCh* text) {
  const int32_t length = text == nullptr ? 0 : utf8Length(text);
  char* result = static_cast<char*>(std::calloc(static_cast<size_t>(length) + 1, 1));
  if (result == nullptr || length == 0) return result;
  UErrorCode status = U_ZERO_ERROR;
  u_strToUTF8(result, length + 1, nullptr, text, -1, &status);
  return result;
}

}  // namespace orca_pdk_4_4

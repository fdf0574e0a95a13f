// Serialised messages come from another process: any text must be read without a crash, and what
// was read must travel unchanged.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "cfiicucatalog.h"

using namespace orca_pdk_4_4;

namespace {

std::string serialized(CFiIcuMessage& message) {
  const pyx_msg_info* info = message.serialize();
  return std::string(info->text, info->length);
}

// An id that the header can carry: ">" would end the tag early, an empty id takes the next word.
bool travels(const std::string& id) {
  return !id.empty() && id.size() < 900 && id.find('>') == std::string::npos;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string text(reinterpret_cast<const char*>(data), size);
  const pyx_msg_info info = {text.data(), text.size()};
  CFiIcuMessage message("ID", 3);
  message.deserialize(&info);
  message.formatMessage(tstr(text.c_str()));

  const std::string first = serialized(message);
  if (first.empty() || !travels(message.getMessageId())) return 0;
  CFiIcuMessage copy("", 0);
  copy.deserialize(message.serialize());
  if (serialized(copy) != first) std::abort();
  return 0;
}

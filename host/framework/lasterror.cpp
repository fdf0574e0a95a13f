#include "framework/lasterror.h"

namespace fihost {

namespace {

std::string notKnown(const char* operation, const std::string& exception) {
  return std::string("(not known: ") + operation + " raised " + exception + ")";
}

// The sentence of a record whose text is given.
std::string localised(Caller& caller, pyx_msg_info* info, std::string sentence) {
  if (sentence.empty()) return "(a message whose text does not travel)";
  int unused = 0;
  char* text = nullptr;
  caller.call(
      Op::GetLocaleMessage, "", {{"message", sentence}, {"locale", "native"}},
      [&](auto& provider) { return provider.getLocaleMessage(&unused, info, "native", &text); },
      [&](Call& call) {
        if (text != nullptr) sentence = text;
        call.outputs = {{"text", sentence}};
      });
  if (!caller.raised().empty()) return notKnown("getLocaleMessage", caller.raised());
  if (text == nullptr) return sentence;
  caller.call(Op::DelLocaleMessage, "", {},
              [&](auto& provider) { return provider.delLocaleMessage(&text); });
  return sentence;
}

}  // namespace

std::string messageId(const std::string& message) {
  constexpr std::string_view kBefore = "MSGID=";
  const std::size_t begin = message.find(kBefore);
  if (begin == message.npos) return message;
  const std::size_t end = message.find_first_of(" >", begin);
  return message.substr(begin + kBefore.size(), end - begin - kBefore.size());
}

std::string takeLastError(Caller& caller) {
  pyx_msg_info* info = nullptr;
  std::string message;
  caller.call(
      Op::GetLastError, "", {}, [&](auto& provider) { return provider.getLastError(&info); },
      [&](Call& call) {
        if (info != nullptr && info->text != nullptr) message = info->text;
        call.outputs = {{"message", message}};
      });
  if (!caller.raised().empty()) return notKnown("getLastError", caller.raised());
  if (info == nullptr) return "";
  std::string sentence = localised(caller, info, message);
  caller.call(Op::DelLastError, "", {{"message", message}},
              [&](auto& provider) { return provider.delLastError(&info); });
  return sentence;
}

}  // namespace fihost

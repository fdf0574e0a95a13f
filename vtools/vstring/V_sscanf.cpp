#include "V_sscanf.h"

#include <algorithm>
#include <cstdarg>
#include <cstring>

#include "V_vfscanf.h"

namespace {

// A view counts its characters in an int, to which those handed back are added: a longer text is
// shown piece after piece.
constexpr size_t kPiece = size_t{1} << 30;

struct TextStream {
  V_stream view;
  size_t rest;
};

int nextPiece(V_stream* view) {
  TextStream* text = reinterpret_cast<TextStream*>(view);
  if (text->rest == 0) return eofread(view);
  view->r = static_cast<int>(std::min(text->rest, kPiece));
  text->rest -= static_cast<size_t>(view->r);
  return 0;
}

}  // namespace

int V_sscanf(const char* text, const char* format, ...) {
  if (text == nullptr) return -1;
  const size_t length = strlen(text);
  const size_t shown = std::min(length, kPiece);
  unsigned char* start = reinterpret_cast<unsigned char*>(const_cast<char*>(text));
  TextStream stream = {{start, static_cast<int>(shown), 0, nullptr, eofread}, length - shown};
  if (stream.rest != 0) stream.view.read = nextPiece;
  va_list args;
  va_start(args, format);
  const int assigned = V_vfscanf(&stream.view, format, args);
  va_end(args);
  return assigned;
}

#ifndef FIHOST_CLI_TEXT_H
#define FIHOST_CLI_TEXT_H

#include <cstddef>
#include <string>

namespace fihost {

// A character of a text: the bytes that it has, and whether it can be seen. Control characters,
// marks that turn the direction of text and bytes that are no UTF-8 cannot.
struct Character {
  std::size_t size;
  bool isVisible;
};
// The character that begins at a place inside the text.
Character characterAt(const std::string& text, std::size_t at);

// Each byte as "\xNN".
std::string bytesAsDigits(const std::string& bytes);

// Text from outside made fit for one line of a terminal: line breaks and tabs become a blank, the
// bytes of what cannot be seen "\xNN".
std::string printable(const std::string& text);

// A duration of milliseconds with one digit behind the point.
std::string milliseconds(double value);

}  // namespace fihost

#endif

#include "V_vfscanf.h"

#include <algorithm>
#include <array>
#include <clocale>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "V_integer.h"
#include "V_strtoimax.h"
#include "V_strtoumax.h"

namespace {

constexpr size_t kMaxNumber = 512;

constexpr std::array<unsigned char, 256> everyByte() {
  std::array<unsigned char, 256> bytes{};
  for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<unsigned char>(i);
  return bytes;
}

// The inside of a FILE cannot be shown, so a view over one points into this table.
constexpr std::array<unsigned char, 256> kBytes = everyByte();

void show(V_stream* stream, unsigned char c) {
  stream->p = const_cast<unsigned char*>(&kBytes[c]);
  stream->r = 1;
}

enum class Outcome { kDone, kMismatch, kEndOfData };

struct Conversion {
  bool suppress = false;
  size_t width = 0;
  size_t integerSize = sizeof(int);
  size_t floatSize = sizeof(float);
  char code = '\0';

  size_t limit() const { return width == 0 ? SIZE_MAX : width; }
};

// Takes one flag, digit or size prefix; false for anything else.
bool takeModifier(char c, Conversion* conversion) {
  size_t& integer = conversion->integerSize;
  if (c >= '0' && c <= '9') {
    const size_t digit = static_cast<size_t>(c - '0');
    const bool tooWide = conversion->width > (SIZE_MAX - digit) / 10;
    conversion->width = tooWide ? SIZE_MAX : conversion->width * 10 + digit;
    return true;
  }
  switch (c) {
    case '*':
      conversion->suppress = true;
      return true;
    case 'h':
      integer = integer == sizeof(short) ? sizeof(char) : sizeof(short);
      return true;
    case 'l':
      integer = integer == sizeof(long) ? sizeof(long long) : sizeof(long);
      conversion->floatSize = sizeof(double);
      return true;
    case 'L':
      conversion->floatSize = sizeof(long double);
      [[fallthrough]];
    case 'q':
      integer = sizeof(long long);
      return true;
    case 'j':
      integer = sizeof(intmax_t);
      return true;
    case 't':
      integer = sizeof(ptrdiff_t);
      return true;
    case 'z':
      integer = sizeof(size_t);
      return true;
    default:
      return false;
  }
}

// Reads what follows a "%"; returns the place behind it, or at the format's end.
const char* parseConversion(const char* format, Conversion* conversion) {
  while (takeModifier(*format, conversion)) ++format;
  conversion->code = *format;
  return *format == '\0' ? format : format + 1;
}

using ScanSet = std::array<bool, 256>;

// Reads a scan set from behind its "["; returns the place behind the "]". A set without "]" ends
// with the format. A range may go on from the end of another: "a-c-e" is "a-e".
const char* parseScanSet(const char* format, ScanSet* set) {
  const bool member = *format != '^';
  if (!member) ++format;
  set->fill(!member);
  if (*format == '\0') return format;
  unsigned char last = static_cast<unsigned char>(*format++);
  (*set)[last] = member;
  while (*format != '\0' && *format != ']') {
    const unsigned char next = static_cast<unsigned char>(format[1]);
    if (*format == '-' && next != ']' && next >= last) {
      std::fill(set->begin() + last, set->begin() + next + 1, member);
      last = next;
      format += 2;
    } else {
      last = static_cast<unsigned char>(*format++);
      (*set)[last] = member;
    }
  }
  return *format == '\0' ? format : format + 1;
}

// The characters of the source, counted.
class Source {
 public:
  explicit Source(V_stream* stream) : m_stream(stream) {}

  // True when there is a next character; it is in the view then.
  bool ready() { return m_stream->r > 0 || (m_stream->read(m_stream) == 0 && m_stream->r > 0); }
  // The next character, -1 at the end.
  int peek() { return ready() ? *m_stream->p : -1; }
  const unsigned char* view() const { return m_stream->p; }
  size_t inView() const { return static_cast<size_t>(m_stream->r); }
  size_t consumed() const { return m_consumed; }

  void take(size_t count = 1) {
    m_stream->p += count;
    m_stream->r -= static_cast<int>(count);
    m_consumed += count;
  }

  // Hands back the character that was taken last; over a file it goes back into the file.
  void giveBack(unsigned char c) {
    --m_consumed;
    if (m_stream->fp == nullptr) {
      --m_stream->p;
      ++m_stream->r;
      return;
    }
    __Vposition_to_file(m_stream);
    if (ungetc(c, m_stream->fp) == EOF) return;
    show(m_stream, c);
    m_stream->eof = 0;
  }

  // Takes the run of accepted characters, limit of them at most, and copies the first room
  // characters of it to out. Returns the length of the run.
  template <class Accepts>
  size_t takeRun(size_t limit, Accepts accepts, char* out, size_t room) {
    size_t left = limit;
    bool goesOn = true;
    while (goesOn && left != 0 && ready()) {
      const size_t most = std::min(left, inView());
      const unsigned char* characters = view();
      size_t count = 0;
      while (count < most && accepts(characters[count])) ++count;
      const size_t stored = std::min(count, room);
      if (stored != 0) out = std::copy_n(characters, stored, out);
      room -= stored;
      left -= count;
      goesOn = count == most;
      take(count);
    }
    return limit - left;
  }

  void skipSpace() {
    takeRun(
        SIZE_MAX, [](unsigned char c) { return V_isSpace(c); }, nullptr, 0);
  }

 private:
  V_stream* m_stream;
  size_t m_consumed = 0;
};

// The characters that may make up one number. Which of them do is up to the function that converts
// the text; the others go back.
class NumberText {
 public:
  NumberText(Source* source, size_t limit)
      : m_source(source), m_limit(std::min(limit, kMaxNumber)) {}

  const char* takeInteger(int base) {
    takeOneOf("+-");
    if (take('0')) takeOneOf("xX");
    takeDigits(base == 0 ? 16 : base);
    return text();
  }

  const char* takeFloat() {
    takeOneOf("+-");
    takeDigits(10);
    const char* point = localeconv()->decimal_point;
    while (take(*point)) ++point;
    takeDigits(10);
    if (takeOneOf("eE")) {
      takeOneOf("+-");
      takeDigits(10);
    }
    return text();
  }

  // Hands back what stands behind the number; false when there is no number.
  bool endAt(const char* end) {
    while (m_text + m_length > end) {
      m_source->giveBack(static_cast<unsigned char>(m_text[--m_length]));
    }
    return m_length != 0;
  }

 private:
  bool take(char c) {
    const bool next =
        c != '\0' && m_length < m_limit && m_source->peek() == static_cast<unsigned char>(c);
    if (!next) return false;
    m_text[m_length++] = c;
    m_source->take();
    return true;
  }

  bool takeOneOf(const char* pair) { return take(pair[0]) || take(pair[1]); }

  void takeDigits(int base) {
    const size_t room = m_limit - m_length;
    const auto isDigit = [base](unsigned char c) { return V_digitValue(c) < base; };
    m_length += m_source->takeRun(room, isDigit, m_text + m_length, room);
  }

  const char* text() {
    m_text[m_length] = '\0';
    return m_text;
  }

  Source* m_source;
  size_t m_limit;
  size_t m_length = 0;
  char m_text[kMaxNumber + 1];
};

class Scanner {
 public:
  Scanner(V_stream* stream, va_list args) : m_source(stream) { va_copy(m_args, args); }
  ~Scanner() { va_end(m_args); }
  Scanner(const Scanner&) = delete;
  Scanner& operator=(const Scanner&) = delete;

  int run(const char* format) {
    while (*format != '\0') {
      Outcome outcome = Outcome::kDone;
      if (V_isSpace(*format)) {
        m_source.skipSpace();
        ++format;
      } else if (*format != '%') {
        outcome = literal(*format++);
      } else {
        Conversion conversion;
        format = parseConversion(format + 1, &conversion);
        if (conversion.code == '\0') return -1;
        if (conversion.code == '[') format = parseScanSet(format, &m_set);
        outcome = convert(conversion);
      }
      if (outcome != Outcome::kDone) return result(outcome);
    }
    return m_assigned;
  }

 private:
  struct Target {
    void* address;
    size_t size;
  };

  int result(Outcome outcome) const {
    return outcome == Outcome::kEndOfData && !m_converted ? -1 : m_assigned;
  }

  Target nextTarget() {
    void* address = va_arg(m_args, void*);
    const size_t size = va_arg(m_args, unsigned int);
    return {address, address == nullptr ? 0 : size};
  }

  Outcome literal(char c) {
    const int next = m_source.peek();
    if (next == -1) return Outcome::kEndOfData;
    if (next != static_cast<unsigned char>(c)) return Outcome::kMismatch;
    m_source.take();
    return Outcome::kDone;
  }

  Outcome convert(const Conversion& conversion) {
    if (conversion.code == '%') return literal('%');
    if (conversion.code == 'n') return storePosition(conversion);
    const bool skipsSpace = conversion.code != 'c' && conversion.code != '[';
    if (skipsSpace) m_source.skipSpace();
    if (!m_source.ready()) return Outcome::kEndOfData;
    const Outcome outcome = convertInput(conversion);
    if (outcome == Outcome::kDone) {
      m_converted = true;
      if (!conversion.suppress) ++m_assigned;
    }
    return outcome;
  }

  Outcome convertInput(const Conversion& conversion) {
    const size_t size = conversion.integerSize;
    switch (conversion.code) {
      case 'c':
        return conversion.suppress ? skip(conversion) : character();
      case 's':
        return text(conversion, [](unsigned char c) { return !V_isSpace(c); });
      case '[':
        return text(conversion, [this](unsigned char c) { return m_set[c]; });
      case 'd':
        return integer(conversion, __Vstrtoimax, 10, size);
      case 'i':
        return integer(conversion, __Vstrtoimax, 0, size);
      case 'D':
        return integer(conversion, __Vstrtoimax, 10, sizeof(long));
      case 'o':
        return integer(conversion, __Vstrtoumax, 8, size);
      case 'O':
        return integer(conversion, __Vstrtoumax, 8, sizeof(long));
      case 'u':
        return integer(conversion, __Vstrtoumax, 10, size);
      case 'x':
      case 'X':
        return integer(conversion, __Vstrtoumax, 16, size);
      case 'p':
        return integer(conversion, __Vstrtoumax, 16, sizeof(void*));
      case 'e':
      case 'E':
      case 'f':
      case 'g':
      case 'G':
        return floating(conversion);
      default:
        return Outcome::kMismatch;
    }
  }

  Outcome skip(const Conversion& conversion) {
    size_t left = std::max<size_t>(conversion.width, 1);
    while (left != 0 && m_source.ready()) {
      const size_t count = std::min(left, m_source.inView());
      m_source.take(count);
      left -= count;
    }
    return Outcome::kDone;
  }

  Outcome character() {
    const Target target = nextTarget();
    if (target.address != nullptr) *static_cast<unsigned char*>(target.address) = *m_source.view();
    m_source.take();
    return Outcome::kDone;
  }

  // A run of accepted characters, of which those that fit are stored.
  template <class Accepts>
  Outcome text(const Conversion& conversion, Accepts accepts) {
    const Target target = conversion.suppress ? Target{nullptr, 0} : nextTarget();
    char* out = static_cast<char*>(target.address);
    const size_t room = target.size == 0 ? 0 : target.size - 1;
    const size_t run = m_source.takeRun(conversion.limit(), accepts, out, room);
    if (run == 0) return Outcome::kMismatch;
    if (target.size != 0) out[std::min(run, room)] = '\0';
    return Outcome::kDone;
  }

  template <class Value>
  Outcome integer(const Conversion& conversion, Value (*convertText)(const char*, char**, int),
                  int base, size_t size) {
    NumberText number(&m_source, conversion.limit());
    char* end = nullptr;
    const Value value = convertText(number.takeInteger(base), &end, base);
    if (!number.endAt(end)) return Outcome::kMismatch;
    if (!conversion.suppress) store(static_cast<uintmax_t>(value), size);
    return Outcome::kDone;
  }

  // Stores the low bytes of an integer: this machine is little-endian.
  void store(uintmax_t value, size_t size) {
    const Target target = nextTarget();
    const size_t count = std::min(size, target.size);
    if (count != 0) memcpy(target.address, &value, count);
  }

  Outcome floating(const Conversion& conversion) {
    NumberText number(&m_source, conversion.limit());
    char* end = nullptr;
    const double value = strtod(number.takeFloat(), &end);
    if (!number.endAt(end)) return Outcome::kMismatch;
    if (!conversion.suppress) storeFloat(value, conversion.floatSize, nextTarget());
    return Outcome::kDone;
  }

  // Stores in the widest floating type that neither the prefix nor the target's size forbids.
  static void storeFloat(double value, size_t size, const Target& target) {
    const size_t room = std::min(size, target.size);
    if (room >= sizeof(long double)) {
      storeAs<long double>(value, target.address);
    } else if (room >= sizeof(double)) {
      storeAs<double>(value, target.address);
    } else if (room >= sizeof(float)) {
      storeAs<float>(value, target.address);
    }
  }

  template <class Float>
  static void storeAs(double value, void* address) {
    const Float converted = static_cast<Float>(value);
    memcpy(address, &converted, sizeof(converted));
  }

  Outcome storePosition(const Conversion& conversion) {
    if (!conversion.suppress) store(m_source.consumed(), conversion.integerSize);
    return Outcome::kDone;
  }

  Source m_source;
  va_list m_args;
  int m_assigned = 0;
  bool m_converted = false;
  ScanSet m_set;
};

}  // namespace

int eofread(V_stream* stream) {
  stream->eof = 1;
  return -1;
}

void __Vposition_from_file(V_stream* stream) {
  if (stream == nullptr || stream->fp == nullptr) return;
  stream->p = nullptr;
  stream->r = 0;
  if (feof(stream->fp) != 0) stream->eof = 1;
}

void __Vposition_to_file(V_stream* stream) {
  if (stream == nullptr || stream->fp == nullptr) return;
  const bool consumed = stream->p != nullptr && stream->r == 0;
  if (consumed) (void)getc(stream->fp);
  if (consumed) stream->p = nullptr;
}

int __Vrefill(V_stream* stream) {
  if (stream == nullptr || stream->fp == nullptr || stream->eof != 0) return -1;
  __Vposition_to_file(stream);
  fflush(nullptr);
  unsigned char next = 0;
  const bool peeked = fscanf(stream->fp, "%c", &next) == 1 && ungetc(next, stream->fp) != EOF;
  __Vposition_from_file(stream);
  if (!peeked) return -1;
  show(stream, next);
  return 0;
}

int V_vfscanf(V_stream* stream, const char* format, va_list args) {
  if (stream == nullptr || stream->read == nullptr || format == nullptr) return -1;
  __Vposition_from_file(stream);
  const int assigned = Scanner(stream, args).run(format);
  __Vposition_to_file(stream);
  return assigned;
}

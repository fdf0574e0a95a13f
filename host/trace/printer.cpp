#include "trace/printer.h"

#include <iostream>

#include "cli/answertext.h"
#include "cli/text.h"
#include "trace/words.h"

namespace fihost {

namespace {

std::string shown(const Value& value) {
  if (std::holds_alternative<std::monostate>(value)) return "null";
  if (const auto* text = std::get_if<std::string>(&value)) return inQuotes(*text);
  if (const auto* number = std::get_if<long>(&value)) return std::to_string(*number);
  const bool areTexts = std::holds_alternative<std::vector<std::string>>(value);
  std::string list;
  for (const std::string& text : textsOf(value)) {
    list += (list.empty() ? "" : ", ") + (areTexts ? inQuotes(text) : text);
  }
  return "[" + list + "]";
}

std::string shown(const Values& values) {
  std::string text;
  for (const NamedValue& value : values) text += " " + value.name + "=" + shown(value.value);
  return text;
}

}  // namespace

void Printer::begins(const Call& call) {
  std::cerr << "> " + std::string(call.operation->name) + shown(call.arguments) + "\n"
            << std::flush;
}

void Printer::ended(const Call& call) {
  std::cerr << "< " + std::string(call.operation->name) + "  " + printable(answerText(call)) +
                   "  " + milliseconds(call.milliseconds) + " ms " + shown(call.outputs) + "\n"
            << std::flush;
}

}  // namespace fihost

#include "framework/exceptions.h"

#include <cfiudid.h>
#include <cxxabi.h>
#include <unistd.h>

#include <cstdlib>
#include <exception>
#include <iostream>
#include <memory>
#include <typeinfo>

#include "cli/text.h"

namespace fihost {

namespace {

struct Free {
  void operator()(char* text) const { std::free(text); }
};

std::string& currentOperation() {
  static std::string* const text = new std::string;
  return *text;
}

std::string currentTypeName() {
  const std::type_info* type = abi::__cxa_current_exception_type();
  if (type == nullptr) return "an exception of a foreign kind";
  int status = 0;
  const std::unique_ptr<char, Free> name(
      abi::__cxa_demangle(type->name(), nullptr, nullptr, &status));
  return name == nullptr ? type->name() : name.get();
}

[[noreturn]] void endWithName() {
  const std::string cause = std::current_exception() ? " raised " + currentException() : " failed";
  std::cerr << "fihost: " << printable(currentOperation() + cause)
            << "; it cannot be caught, so the host ends here" << std::endl;
  _exit(1);
}

}  // namespace

std::string currentException() {
  std::string type = currentTypeName();
  try {
    throw;
  } catch (const std::exception& exception) {
    return type + ": " + exception.what();
  } catch (const orca_pdk::CFiUdidException& exception) {
    return type + ": \"" + exception.text + "\", code " + std::to_string(exception.code);
  } catch (...) {
    return type;
  }
}

void nameOperationOnTermination() { std::set_terminate(endWithName); }

CurrentOperation::CurrentOperation(const std::string& provider, const std::string& operation)
    : m_before(currentOperation()) {
  currentOperation() = "provider " + provider + ", operation " + operation;
}

CurrentOperation::~CurrentOperation() { currentOperation() = m_before; }

}  // namespace fihost

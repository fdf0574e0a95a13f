#include "framework/exceptions.h"

#include <cfiudid.h>
#include <cxxabi.h>

#include <cstdlib>
#include <exception>
#include <memory>
#include <typeinfo>

namespace fihost {

namespace {

struct Free {
  void operator()(char* text) const { std::free(text); }
};

std::string currentTypeName() {
  const std::type_info* type = abi::__cxa_current_exception_type();
  if (type == nullptr) return "an exception of a foreign kind";
  int status = 0;
  const std::unique_ptr<char, Free> name(
      abi::__cxa_demangle(type->name(), nullptr, nullptr, &status));
  return name == nullptr ? type->name() : name.get();
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

}  // namespace fihost

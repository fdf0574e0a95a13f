#include "trace/form.h"

#include <algorithm>
#include <cctype>
#include <sstream>

namespace fihost {

namespace {

// Takes an ending off; true when it was there.
bool takeOff(std::string& text, const std::string& ending) {
  if (!text.ends_with(ending)) return false;
  text.erase(text.size() - ending.size());
  return true;
}

Place placeOf(std::string token) {
  Place place{};
  place.areNodes = token.front() == '@';
  if (place.areNodes) token.erase(0, 1);
  place.takesRest = takeOff(token, "...");
  place.isNamed = takeOff(token, "=");
  const std::size_t slash = token.find('/');
  place.name = token.substr(0, slash);
  if (slash != token.npos) place.second = token.substr(slash + 1);
  return place;
}

}  // namespace

std::string Form::name() const {
  if (otherName != nullptr) return otherName;
  std::string text = describe(op).name;
  const std::size_t mode = std::min(text.find(' '), text.size());
  std::transform(text.begin() + static_cast<std::ptrdiff_t>(mode), text.end(),
                 text.begin() + static_cast<std::ptrdiff_t>(mode),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

std::vector<Place> Form::places() const {
  std::vector<Place> places;
  std::istringstream tokens(arguments);
  for (std::string token; tokens >> token;) places.push_back(placeOf(token));
  return places;
}

const Form* formOf(Op op) {
  const auto forms = allForms();
  const auto found =
      std::find_if(forms.begin(), forms.end(), [op](const Form& form) { return form.op == op; });
  return found == forms.end() ? nullptr : &*found;
}

}  // namespace fihost

#include "project/project.h"

#include <algorithm>

#include "project/templates.h"

namespace fihost::project {

namespace {

constexpr std::size_t kLongestName = 32;
// Targets that CMake makes itself.
constexpr const char* kTargets[] = {"all",        "clean",         "codegen", "edit_cache",
                                    "help",       "install",       "package", "package_source",
                                    "preinstall", "rebuild_cache", "test"};

bool isLetter(char c) { return c >= 'a' && c <= 'z'; }
bool isDigit(char c) { return c >= '0' && c <= '9'; }
char capital(char c) { return isLetter(c) ? static_cast<char>(c - 'a' + 'A') : c; }

// my_snap: MySnap
std::string classOf(const std::string& name) {
  std::string text;
  bool isStart = true;
  for (const char c : name) {
    if (c != '_') text += isStart ? capital(c) : c;
    isStart = c == '_';
  }
  return text;
}

std::string idOf(std::string name) {
  std::transform(name.begin(), name.end(), name.begin(), capital);
  return name;
}

void replace(std::string& text, std::string_view mark, const std::string& by) {
  for (std::size_t at = text.find(mark); at != text.npos; at = text.find(mark, at + by.size())) {
    text.replace(at, mark.size(), by);
  }
}

// A template's text or path for a provider.
std::string filledIn(std::string_view text, const std::string& name) {
  std::string filled(text);
  replace(filled, "@NAME@", name);
  replace(filled, "@CLASS@", classOf(name));
  replace(filled, "@ID@", idOf(name));
  return filled;
}

}  // namespace

std::string faultOf(const std::string& name) {
  const bool isPlain = !name.empty() && name.size() <= kLongestName && isLetter(name.front()) &&
                       std::all_of(name.begin(), name.end(),
                                   [](char c) { return isLetter(c) || isDigit(c) || c == '_'; });
  if (!isPlain) {
    return "a name begins with a letter from a to z, has after it nothing but such letters, "
           "digits and \"_\", and at most " +
           std::to_string(kLongestName) + " characters";
  }
  const bool isTarget =
      std::find(std::begin(kTargets), std::end(kTargets), name) != std::end(kTargets);
  return isTarget ? "CMake has a target of its own that is called so" : "";
}

std::vector<File> filesOf(const std::string& name, const std::string& kind) {
  std::vector<File> files;
  for (const auto& [path, text] : allTemplates()) {
    const std::size_t slash = path.find('/');
    const std::string_view folder = path.substr(0, slash);
    if (folder != kind && folder != "common") continue;
    files.push_back({filledIn(path.substr(slash + 1), name), filledIn(text, name)});
  }
  std::sort(files.begin(), files.end(), [](auto& a, auto& b) { return a.path < b.path; });
  return files;
}

}  // namespace fihost::project

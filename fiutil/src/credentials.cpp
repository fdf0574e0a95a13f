#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <set>
#include <string>

#include "fiutil.h"

namespace {

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

// The file's text up to its end or its first NUL. False when it cannot be read.
bool readText(const char* path, std::string& text) {
  const std::unique_ptr<std::FILE, FileCloser> file(std::fopen(path, "re"));
  if (file == nullptr) return false;
  for (int c = std::getc(file.get()); c != EOF && c != '\0'; c = std::getc(file.get())) {
    text.push_back(static_cast<char>(c));
  }
  return std::ferror(file.get()) == 0;
}

// A text that stays valid for the rest of the process, the same one for the same content, so that a
// caller on another thread never loses the text it reads when the file changes.
char* keep(std::string text) {
  static std::mutex lock;
  static auto* const texts = new std::set<std::string>;
  const std::lock_guard<std::mutex> guard(lock);
  return const_cast<char*>(texts->insert(std::move(text)).first->c_str());
}

}  // namespace

int orca_get_credential_blob(char** text) {
  if (text == nullptr) return 0;
  *text = nullptr;
  const char* path = std::getenv("ORCA_CREDENTIALS");
  if (path == nullptr || *path == '\0') return 0;
  try {
    std::string content;
    if (readText(path, content)) *text = keep(std::move(content));
  } catch (...) {
    // Short of memory: no credential text.
  }
  return 0;
}

#include "framework/plugin.h"

#include <cfiproviderentry.h>
#include <dlfcn.h>
#include <string.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>

#include "cli/exitstatus.h"
#include "cli/text.h"
#include "files/trust.h"
#include "framework/currentoperation.h"
#include "framework/exceptions.h"

namespace fihost {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kLongestAbi = 64;

std::string loaderWords() {
  const char* words = dlerror();
  return words == nullptr ? "the loader gives no reason" : words;
}

// The setting ORCA_PLUGIN_DIR, or the folder beside the program's own.
fs::path pluginFolder() {
  const char* setting = std::getenv("ORCA_PLUGIN_DIR");
  if (setting != nullptr && *setting != '\0') return setting;
  std::error_code ignored;
  return fs::read_symlink("/proc/self/exe", ignored).parent_path().parent_path() /
         FIHOST_PLUGIN_DIR;
}

// A path is taken as it is; a bare name is looked for in the plug-in folder, and nowhere else.
fs::path findPlugin(const std::string& nameOrPath) {
  if (nameOrPath.find('/') != std::string::npos) return nameOrPath;
  const fs::path folder = pluginFolder();
  std::error_code ignored;
  for (const std::string& name : {nameOrPath, nameOrPath + ".so", "lib" + nameOrPath + ".so"}) {
    if (fs::is_regular_file(folder / name, ignored)) return folder / name;
  }
  throw Problem{kNotLoaded, "no plug-in \"" + nameOrPath + "\" in " + folder.string() +
                                " (a path has a slash; ORCA_PLUGIN_DIR sets the folder)"};
}

// Where a plug-in lies that nobody but root and the caller can change: its code runs as the caller.
std::string trustedPlugin(const std::string& nameOrPath) {
  std::error_code ignored;
  const fs::path found = findPlugin(nameOrPath);
  const fs::path absolute = fs::absolute(found, ignored);
  std::string path = (absolute.empty() ? found : absolute).string();
  if (trustedPlace(path, "plug-in", kNotLoaded).empty()) {
    throw Problem{kNotLoaded, "cannot load plug-in " + path + ": " + strerror(ENOENT)};
  }
  return path;
}

}  // namespace

void Plugin::Closer::operator()(void* library) const { dlclose(library); }

Plugin::Plugin(const std::string& nameOrPath) : m_path(trustedPlugin(nameOrPath)) {
  const CurrentOperation current(m_path, "loading");
  m_library.reset(dlopen(m_path.c_str(), RTLD_NOW | RTLD_LOCAL));
  if (m_library == nullptr) {
    throw Problem{kNotLoaded, "cannot load plug-in " + m_path + ": " + loaderWords() +
                                  "; build it against this kit, orca_pdk " FIHOST_VERSION
                                  ", and see that its libraries are found"};
  }
  checkAbi();
  createProvider();
}

Plugin::~Plugin() {
  const CurrentOperation current(name(), "~CFiPluginBase");
  if (m_provider.release() > 0) static_cast<void>(m_library.release());
  const CurrentOperation unloading(m_path, "unloading");
  m_library.reset();
}

std::string Plugin::name() const {
  if (!m_provider) return m_path;
  const orca_pdk::tstr name = m_provider->getProviderName();
  return name.length() == 0 ? m_path : std::string(name.c_str(), name.length());
}

void* Plugin::symbol(const char* name) const {
  void* address = dlsym(m_library.get(), name);
  if (address == nullptr) {
    throw Problem{kNotLoaded, "plug-in " + m_path + " lacks the symbol " + name + ": " +
                                  loaderWords() +
                                  "; put ORCA_PROVIDER(Class) into one of its sources"};
  }
  return address;
}

void Plugin::checkAbi() {
  const auto* text = static_cast<const char*>(symbol("orca_provider_abi"));
  m_abi.assign(text, strnlen(text, kLongestAbi));
  if (m_abi != ORCA_PROVIDER_ABI) {
    throw Problem{kNotLoaded, "plug-in " + m_path + " is built for the provider ABI \"" +
                                  printable(m_abi) +
                                  "\", this host has \"" ORCA_PROVIDER_ABI
                                  "\"; rebuild it against orca_pdk " FIHOST_VERSION};
  }
}

void Plugin::createProvider() {
  using Create = orca_pdk::CFiPluginBase* (*)();
  const auto create = reinterpret_cast<Create>(symbol("orca_provider_create"));
  const CurrentOperation current(m_path, "orca_provider_create");
  std::string exception;
  try {
    m_provider = orca_pdk::CFiPluginBasePtr(create());
  } catch (...) {
    exception = currentException();
  }
  if (!exception.empty()) {
    throw Problem{kNotLoaded, "plug-in " + m_path + ", orca_provider_create raised " + exception};
  }
  if (!m_provider) {
    throw Problem{kNotLoaded, "plug-in " + m_path + ", orca_provider_create made no provider"};
  }
}

}  // namespace fihost

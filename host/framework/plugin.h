#ifndef FIHOST_FRAMEWORK_PLUGIN_H
#define FIHOST_FRAMEWORK_PLUGIN_H

#include <cfipluginbase.h>

#include <memory>
#include <string>

namespace fihost {

// A loaded plug-in and its provider. The library stays open as long as anything of it lives: the
// provider goes first, and where somebody else still holds the provider the library is never
// closed.
class Plugin {
 public:
  // Loads a plug-in: a path, or a name without a slash that is looked up in the plug-in folder.
  // Throws a Problem that names what another user could change, or with the loader's own words, the
  // missing symbol, or both ABI texts where they differ; nothing of the plug-in is called before
  // they are compared.
  explicit Plugin(const std::string& nameOrPath);
  ~Plugin();
  Plugin(const Plugin&) = delete;
  Plugin& operator=(const Plugin&) = delete;

  orca_pdk::CFiPluginBase& provider() { return *m_provider; }
  // The provider's name; the file's where it has none.
  std::string name() const;
  const std::string& path() const { return m_path; }
  const std::string& abi() const { return m_abi; }

 private:
  struct Closer {
    void operator()(void* library) const;
  };

  void* symbol(const char* name) const;
  void checkAbi();
  void createProvider();

  std::string m_path;
  std::string m_abi;
  std::unique_ptr<void, Closer> m_library;
  orca_pdk::CFiPluginBasePtr m_provider;
};

}  // namespace fihost

#endif

#include "framework/operations.h"
#include "verbs/resources.h"

namespace fihost {

namespace {

class Import : public ResourceVerb {
 public:
  Import()
      : ResourceVerb("imported", orca_pdk::FI_IMPORT_READ_WRITE,
                     "0x1 import, 0x2 import read-only") {}
  const char* name() const override { return "import"; }
  const char* help() const override { return "Make resources visible on a host"; }

 private:
  bool work(Caller& caller, Json& answer, const std::string& resource, const std::string& host,
            int flags) override {
    std::string path;
    if (!ops::importResource(caller, resource, host, flags, path)) return false;
    if (!path.empty()) answer["paths"][resource] = path;
    return true;
  }
};

}  // namespace

std::unique_ptr<Verb> make_import() { return std::make_unique<Import>(); }

}  // namespace fihost

#include "framework/operations.h"
#include "verbs/resources.h"

namespace fihost {

namespace {

class Deport : public ResourceVerb {
 public:
  Deport()
      : ResourceVerb("deported", orca_pdk::FI_DEPORT,
                     "0x20 withdraw, 0x10 withdraw a read-only import") {}
  const char* name() const override { return "deport"; }
  const char* help() const override { return "Withdraw resources from a host"; }

 private:
  bool work(Caller& caller, Json&, const std::string& resource, const std::string& host,
            int flags) override {
    return ops::deportResource(caller, resource, host, flags);
  }
};

}  // namespace

std::unique_ptr<Verb> make_deport() { return std::make_unique<Deport>(); }

}  // namespace fihost

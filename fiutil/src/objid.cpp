#include <string.h>

#include <cstdlib>
#include <memory>

#include "accounting.h"
#include "faults.h"

namespace {

struct ObjidDeleter {
  void operator()(orca_objid* id) const {
    std::free(id->name);
    std::free(id);
  }
};
using OwnedObjid = std::unique_ptr<orca_objid, ObjidDeleter>;

bool sameName(const char* a, const char* b) {
  if (a == nullptr || b == nullptr) return a == b;
  return strcmp(a, b) == 0;
}

}  // namespace

orca_objid* orca_get_objid(const char* name, size_t length, int kind) {
  if (name == nullptr || orca_fiutil::fails(ORCA_FAULT_OBJID)) return nullptr;
  OwnedObjid id(static_cast<orca_objid*>(std::calloc(1, sizeof(orca_objid))));
  if (id == nullptr) return nullptr;
  id->name = strndup(name, length);
  id->kind = kind;
  if (id->name == nullptr || !orca_fiutil::Registry::instance().addObjid(id.get())) return nullptr;
  return id.release();
}

void orca_free_objid(orca_objid* id) {
  if (id == nullptr) return;
  if (orca_fiutil::Registry::instance().removeObjid(id)) ObjidDeleter()(id);
}

int orca_objidcmp(const orca_objid* a, const orca_objid* b) {
  if (a == b) return 0;
  if (a == nullptr || b == nullptr) return 1;
  return a->kind == b->kind && sameName(a->name, b->name) ? 0 : 1;
}

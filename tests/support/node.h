#ifndef ORCA_TESTS_NODE_H
#define ORCA_TESTS_NODE_H

#include <orca_pdk.h>

#include <string>

namespace orca_tests {

// An object id, and a node of that name.
struct Node {
  explicit Node(const std::string& name)
      : id(orca_get_objid(name.c_str(), name.size() + 1, orca_pdk::FI_OBJID_NODE)) {
    domain.objid = id;
  }
  ~Node() { orca_free_objid(id); }
  Node(const Node&) = delete;
  Node& operator=(const Node&) = delete;

  orca_objid* id;
  pyx_domain domain{};
  pyx_splitnode split{&domain, &domain};
};

}  // namespace orca_tests

#endif

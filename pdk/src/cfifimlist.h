#ifndef ORCA_PDK_CFIFIMLIST_H
#define ORCA_PDK_CFIFIMLIST_H

#include <fiutil.h>

#include <cstdlib>

namespace orca_pdk_4_4 {

// Frees the elements of a FIM list and their entries, all of them from malloc; the texts stay.
inline void freeFimList(pyx_node_fim* list) {
  while (list != nullptr) {
    pyx_node_fim* next = list->next;
    std::free(list->detail);
    std::free(list->name);
    std::free(list);
    list = next;
  }
}

}  // namespace orca_pdk_4_4

#endif

#ifndef ORCA_PDK_CFIPRIVATEDATAMGR_H
#define ORCA_PDK_CFIPRIVATEDATAMGR_H

#include <map>

#include "cfiexport.h"
#include "cfiprivatedata.h"
#include "cfirefcount.h"
#include "cfismartptr.h"

namespace orca_pdk_4_4 {

// Maps a node's domain record to its private data. A provider may bring its own; it decides what an
// unknown node gets.
class ORCA_PDK_API CFiPrivateDataManager : public virtual CFiRefCount {
 public:
  ~CFiPrivateDataManager() override;
  // The private data of a node; empty when there is none.
  virtual CFiPrivateDataPtr find(pyx_domain* domain) = 0;
  // The private data of a node, made when there is none. altNode non-zero marks an alternate node.
  virtual CFiPrivateDataPtr findOrCreate(pyx_domain* domain, int altNode) = 0;
  // Lets the private data of a node go; holders keep theirs.
  virtual void remove(pyx_domain* domain) = 0;
};

using CFiPrivateDataManagerPtr =
    CFiSmartPtr<CFiPrivateDataManager, CFiContextSingletonAllocator<CFiPrivateDataManager>>;

// The ready manager: a map keyed by the domain record's address. New private data carries the
// node's object id and the manager's trace log.
class ORCA_PDK_API CFiPrivateDataMap : public CFiPrivateDataManager, public virtual CFiTraceable {
 public:
  CFiPrivateDataMap();
  ~CFiPrivateDataMap() override;

  CFiPrivateDataPtr find(pyx_domain* domain) override;
  // Empty for a null domain.
  CFiPrivateDataPtr findOrCreate(pyx_domain* domain, int altNode) override;
  void remove(pyx_domain* domain) override;

 protected:
  // Makes the private data of a node; override it to keep private data of a class of your own.
  // Null leaves the node without private data.
  virtual CFiPrivateData* create(pyx_domain* domain);

 private:
  std::map<pyx_domain*, CFiPrivateDataPtr> m_nodes;
};

extern template class CFiContextSingletonAllocator<CFiPrivateDataManager>;

}  // namespace orca_pdk_4_4

#endif

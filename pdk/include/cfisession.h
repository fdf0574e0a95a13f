#ifndef ORCA_PDK_CFISESSION_H
#define ORCA_PDK_CFISESSION_H

#include <map>
#include <string>
#include <vector>

#include "cfiexport.h"
#include "cfirefcount.h"
#include "cfismartptr.h"
#include "cfitypes.h"

namespace orca_pdk_4_4 {

// One snapshot session: its id and the split nodes that take part. The nodes belong to the
// framework.
class ORCA_PDK_API CFiSession : public virtual CFiRefCount {
 public:
  explicit CFiSession(std::string id = std::string());
  ~CFiSession() override;

  const std::string& getId() const;
  void addSplitNode(pyx_splitnode* node);
  const std::vector<pyx_splitnode*>& getSplitNodes() const;

 private:
  std::string m_id;
  std::vector<pyx_splitnode*> m_splitNodes;
};

using CFiSessionPtr = CFiSmartPtr<CFiSession, CFiNullAllocator<CFiSession>>;

// The sessions of the process by id.
class ORCA_PDK_API CFiSessionManager : public virtual CFiRefCount {
 public:
  CFiSessionManager();
  ~CFiSessionManager() override;

  // The session of an id; empty when there is none.
  CFiSessionPtr find(const std::string& id) const;
  // The session of an id, made when there is none.
  CFiSessionPtr findOrCreate(const std::string& id);
  // Lets a session go; holders keep theirs.
  void remove(const std::string& id);

 private:
  std::map<std::string, CFiSessionPtr> m_sessions;
};

using CFiSessionManagerPtr =
    CFiSmartPtr<CFiSessionManager, CFiContextSingletonAllocator<CFiSessionManager>>;

// Arguments and answer of the objctl operation.
struct ORCA_PDK_API CFiObjctlArgs {
  CFiObjctlArgs();
  virtual ~CFiObjctlArgs();

  std::vector<std::string> arguments;  // from the caller
  std::string answer;                  // for the caller
};

extern template class CFiContextSingletonAllocator<CFiSessionManager>;

}  // namespace orca_pdk_4_4

#endif

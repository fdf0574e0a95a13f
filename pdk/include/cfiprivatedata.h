#ifndef ORCA_PDK_CFIPRIVATEDATA_H
#define ORCA_PDK_CFIPRIVATEDATA_H

#include <memory>
#include <string>
#include <vector>

#include "cficonfig.h"
#include "cfiexport.h"
#include "cfirefcount.h"
#include "cfismartptr.h"
#include "cfitraceable.h"
#include "cfitypes.h"

namespace orca_pdk_4_4 {

class CFiUdid;

// What a provider keeps about one node: its identity, sub-objects, session, hosts, targets, and for
// each of the two configuration modes (0 and 1; others are undefined) the parameter descriptions
// and values. A provider may derive its own.
//
// Object ids belong to the framework and are never freed here. Lists answered by pointer belong to
// the private data; strings and vectors are copies.
//
// Threads: one at a time for each node.
class ORCA_PDK_API CFiPrivateData : public virtual CFiRefCount, public virtual CFiTraceable {
 public:
  // The private data of the node with that object id; null gives a node without a name.
  explicit CFiPrivateData(orca_objid* id = nullptr);
  ~CFiPrivateData() override;

  // True when the description list or the value list of a mode exists.
  virtual bool hasConfigInfoList(int mode);
  virtual bool hasConfigDataList(int mode);
  // Adds the defaults of the given descriptions, or with null of the mode's own, to the mode's
  // value list. A default whose name is contained in the name of a value that was there before is
  // left out.
  virtual void addDefaultConfigParamsToDataList(int mode, CFiConfigParamInfoList* infoList);
  // The description list or the value list of a mode, made when hasConfigInfoList or
  // hasConfigDataList denies it.
  virtual CFiConfigParamInfoList* configInfoList(int mode);
  virtual CFiConfigParamDataList* configDataList(int mode);
  virtual void setIntent(pyx_intent intent);
  virtual pyx_intent getIntent();
  // The name of the split type; null is ignored.
  virtual void setSplitType(const char* splitType);
  virtual std::string getSplitType();
  // The snapshot session; null is ignored.
  virtual void setSessionId(const char* sessionId);
  virtual std::string getSessionId();
  // The hosts of the snapshot.
  virtual std::vector<tstr> getHostList();
  // Appends the hosts of a list to those that are there; records without a name are skipped.
  virtual void setHostList(pyx_host_infn* first);
  // Whether the snapshot can be moved to another host.
  virtual bool getTransportable();
  virtual void setTransportable(bool transportable);
  // Does nothing with the blob; returns 0.
  virtual int setNodeState(pyx_blob* blob);
  // Fills the blob with the node's state as text of kind 1; the buffer becomes the framework's, and
  // what the blob held before is overwritten, not freed. Returns 0, or 3 for a null blob. Throws
  // std::bad_alloc when memory is short.
  virtual int getNodeState(pyx_blob* blob);
  // The object id's name; empty without one.
  virtual const char* getObjName();
  // Appends a sub-object.
  virtual void addSubObject(orca_objid* id);
  // The first element of the sub-objects, or null when there is none.
  virtual orca_objid** getSubObjectList();
  virtual unsigned long getSubObjectListLength();
  // Whether the node is an alternate one.
  virtual void setIsAltNode(bool isAltNode);
  virtual bool getIsAltNode();
  // The target that was chosen, and the candidates in the order of their addition.
  virtual std::string getConfiguredTarget();
  virtual std::vector<std::string> getTargets();
  virtual void addTarget(std::string target);
  virtual void setConfiguredTarget(const std::string& target);
  // Chooses the node's target from parameter "snapshot_resource_spec" of mode 1: the first source
  // entry that matches the node's device identifier gives all targets, and its first one becomes
  // the configured target. Returns 0, or 6 with the reason in the trace log. A node name that is no
  // device identifier throws CFiUdidException.
  virtual int selectTargetFromConfigData();

 private:
  friend class CFiPluginBase;

  static constexpr int kModes = 2;
  // What one source entry of the target selection came to.
  enum class EEntry { other, found, failed };

  // Takes a mode's own value list away.
  void dropConfigDataList(int mode) noexcept;
  bool readResourceSpec(std::vector<std::string>& entries);
  struct ResourceItem;

  EEntry readSourceEntry(const std::string& entry, const CFiUdid& udid);
  bool readItem(const std::string& text, ResourceItem& item);
  int configureTarget(CFiUdid& udid);

  orca_objid* m_objid;
  std::vector<orca_objid*> m_subObjects;
  bool m_isAltNode = false;
  std::string m_sessionId;
  std::string m_splitType;
  std::string m_configuredTarget;
  std::vector<std::string> m_targets;
  bool m_transportable = false;
  std::vector<std::string> m_hosts;
  pyx_intent m_intent = PYX_INTENT_NONE;
  std::unique_ptr<CFiConfigParamInfoList> m_infoLists[kModes];
  std::unique_ptr<CFiConfigParamDataList> m_dataLists[kModes];
};

using CFiPrivateDataPtr = CFiSmartPtr<CFiPrivateData, CFiNullAllocator<CFiPrivateData>>;

}  // namespace orca_pdk_4_4

#endif

#ifndef ORCA_PDK_CFIPLUGINBASE_H
#define ORCA_PDK_CFIPLUGINBASE_H

#include <cstdint>
#include <string>

#include "cficonfig.h"
#include "cfierrormgr.h"
#include "cfiexport.h"
#include "cfimsgcatalogmgr.h"
#include "cfiprivatedatamgr.h"
#include "cfirefcount.h"
#include "cfisession.h"
#include "cfitraceable.h"
#include "cfitypes.h"

namespace orca_pdk_4_4 {

// Base of every provider. The framework drives a provider only through the virtual operations of
// this class, in a fixed table; each has a default, so that a provider overrides what it supports.
//
// Results are an EFiResult unless an operation says otherwise. No operation throws to the
// framework, except where it says so. Every default but delayedInit and globalConfigInfoList writes
// an entry and an exit line to the registered trace log.
//
// Arguments belong to the framework and are valid during the call. What an operation hands back
// becomes the framework's: ids come from orca_get_objid, buffers and arrays from orca_alloc_buf,
// text from CFiStringTool::tstrdup; exceptions are named at the operation. Outputs that a default
// does not name stay untouched.
//
// Threads: no lock; the framework calls one operation of a provider at a time.
class ORCA_PDK_API CFiPluginBase : public virtual CFiRefCount, public virtual CFiTraceable {
 public:
  // No name, no managers, message index offset 0.
  CFiPluginBase();

  // Lets the managers go.
  ~CFiPluginBase() override;

  // Work that must wait until after loading. Returns 0.
  virtual int delayedInit();
  // The provider's own description list of an index (0 or 1), of the first or the second set; owned
  // by the provider. Asked for when a node has no descriptions of its own.
  virtual CFiConfigParamInfoList* globalConfigInfoList(int mode, bool second);
  // First operation after set-up: check what the provider needs. Returns 0.
  virtual int init();
  // Last operation.
  virtual void fini();
  // Asks whether the provider wants a node. Answers a PYX_CLAIM_ value; a claim sets the ids of
  // secondary nodes (an array, or null) and their number. Default: claims nothing.
  virtual int claim(orca_objid* primary, orca_objid*** secondaries, int* count);
  // Asks whether a node's snapshots can be of a type. Default: answers 0 in the node's capability
  // field; returns 0.
  virtual int supportsFiType(pyx_domain* domain, char* fiType);
  // Withdraws a tree of nodes from a host. Returns 0.
  virtual int deportTree(pyx_domain* domain, pyx_domain* second, pyx_accessnode* access);
  // Makes one node of a tree visible here. Default: 0, nothing imported.
  virtual int importTreeNode(pyx_domain* domain, orca_objid** first, orca_objid** second, int count,
                             orca_objid** imported);
  // Sets a node up: the place to make its private data. Returns 0.
  virtual int initNode(pyx_domain* domain, pyx_domain** members, int count, orca_objid* parent);
  // Hands out, takes and clears a node's configuration documents. mode: 1 GET and 4 GETPARAM hand
  // a malloc copy of the document out in the text of spec, or null; 2 and 5 SET take the document
  // in it, which stays the caller's, and hand the completed one out; 3 clears the values. The first
  // selector picks the list index; with both selectors zero nothing is done. Returns 0, or 3
  // without private data, without spec, or for a document in error, which leaves the values as they
  // were. So does a shortage of memory.
  virtual int config(pyx_domain* domain, int mode, char* sessionId, pyx_confspec* spec);
  // Sets an alternate node up. Returns 0.
  virtual int initAltNode(pyx_domain* primary, pyx_domain* second, pyx_domain* target, bool flag);
  // Attaches private data to a temporary object: intent, then session id and split type where they
  // are not null. Returns 0.
  virtual int reAccessTmpObj(pyx_domain* domain, orca_objid* id, char* splitType,
                             pyx_domain* second, char* sessionId, pyx_intent intent);
  // Attaches private data to an alternate node: intent, then session id where it is not null.
  // Returns 0.
  virtual int reAccessAltNode(pyx_domain* domain, orca_objid* first, orca_objid* second,
                              char* sessionId, orca_objid** firstList, orca_objid** secondList,
                              int count, pyx_intent intent);
  // The end of a node: takes its FIM list off and frees it (the texts excepted), and lets its
  // private data go.
  virtual void deInitNode(pyx_domain* domain);
  // Removes the snapshot of a split node. Returns 0.
  virtual int dispose(pyx_domain* domain, pyx_domain* second, pyx_splitnode* node,
                      pyx_disposition disposition);
  // Brings a snapshot on line. Returns 0.
  virtual int online(pyx_domain* domain, pyx_domain* second, int flags,
                     pyx_disposition disposition);
  // The sub-objects of a node: the array stays the private data's. Without private data both
  // outputs stay untouched. Returns 0.
  virtual int subobjList(pyx_domain* domain, orca_objid*** list, int* count);
  // The localised text of a provider error code, message "MSG_ERROR_<PROVIDER>_<number>" in the
  // native language; the caller returns it through delLocaleMessage. The message index offset is
  // taken off codes greater than it. Without a catalog manager the text is null. Returns 0, or 3
  // for a null text pointer.
  virtual int errMsg(int code, const char** text);
  // Builds the tree of a snapshot. Returns 0.
  virtual int buildAltTree(pyx_domain* domain, char* sessionId, orca_objid** first,
                           orca_objid** second, int count, orca_objid** built);
  // Holds writers off before a snapshot. Returns 0.
  virtual int quiesce(pyx_quiescenode** nodes, int count, char* sessionId);
  // Lets writers go on.
  virtual void unquiesce(pyx_quiescenode** nodes, int count);
  // Takes the snapshots of all split nodes. A provider hands out one object id a snapshot, in the
  // order of the nodes. Default: not supported.
  virtual int make(char* sessionId, pyx_splitnode** nodes, int count, orca_objid*** snapshots,
                   int* snapshotCount);
  // The same for a session object. Default: not supported.
  virtual int makeSnapshots(CFiSessionPtr& session);
  // Gets ready for make, while the nodes are quiesced. Default: not supported.
  virtual int prepare(char* sessionId, pyx_splitnode** nodes, int count, int flags);
  // The same for a session object. Returns 0.
  virtual int prepareSnapshots(CFiSessionPtr& session);
  // Picks the targets of the split nodes. Default: not supported.
  virtual int select(char* sessionId, pyx_splitnode** nodes, int count);
  // The same for a session object. Returns 0.
  virtual int selectSnapshots(CFiSessionPtr& session);
  // Asks whether the snapshots are ready: a provider sets flag 0x8 of the nodes that are. Returns
  // 0.
  virtual int isReady(char* sessionId, pyx_splitnode** nodes, int count);
  // Switch a node's cache off, on, and flush it. cacheDisable returns 0.
  virtual int cacheDisable(pyx_domain* domain, int flags);
  virtual void cacheEnable(pyx_domain* domain, int flags);
  virtual void cacheFlush(pyx_domain* domain, int flags);
  // Asks whether the provider puts a node of its own in front of a node. Default: 0, no.
  virtual int interpose(pyx_domain* domain, orca_objid** interposed, orca_objid*** groups,
                        int* count);
  // Attributes of a snapshot. Returns 0.
  virtual int getAttr(pyx_domain* domain, pyx_domain* second, pyx_splitnode* node,
                      pyx_attributes* attributes);
  // Describes the provider. Returns 0.
  virtual int getProviderInfo(pyx_provider_list** list);
  // Lists nodes, associations, group nodes, FIMs. Defaults: the list is null, 0; a null list
  // pointer gives 3, except for enumerateFims, which gives 0.
  virtual int enumerateNodes(pyx_node_list** list, int* count, int flags, char* filter);
  virtual int enumerateAssociations(pyx_assoc_list** list);
  virtual int enumerateGroupNodes(pyx_group_node_list** list);
  virtual int enumerateFims(pyx_fim_list** list);
  // Asks whether an association holds. Default: not supported.
  virtual int isValidNodeAssociation(pyx_assoc* association, int* valid);
  // Nodes associated with a node. Default: null list, 0; 3 for a null list pointer.
  virtual int getAssociatedNodes(pyx_node* node, pyx_node_list** list);
  // Asks whether a node still exists. Default: not supported.
  virtual int checkNodeExistence(pyx_domain* domain, int* exists);
  // A request of the provider's own. Returns 0.
  virtual int objctl(tstr request, CFiObjctlArgs& args);
  // Keeps and gives back state of the provider. Default: for PYX_OPSTATE_GET clears length and data
  // of the blob, freeing nothing. Returns 0.
  virtual int processProviderState(pyx_domain* domain, pyx_blob* blob,
                                   pyx_op_providerstate operation);
  // The last error as a record that stays the error manager's, or null when there is none; the
  // framework returns it through delLastError. Both return 0; getLastError 3 for a null pointer.
  virtual int getLastError(pyx_msg_info** info);
  virtual int delLastError(pyx_msg_info** info);
  // The sentence of a record in a locale ("native": the native language; null: the default one), or
  // null; it stays the catalog manager's, and the framework returns it through delLocaleMessage.
  // Both return 0; getLocaleMessage 3 for a null text pointer.
  virtual int getLocaleMessage(int* unused, pyx_msg_info* info, const char* locale, char** text);
  virtual int delLocaleMessage(char** text);
  // Switch access to a list of sub-objects on and off: flag 0x40 of each one's node. Return 0, or 3
  // for a null list.
  virtual int enableAccess(pyx_node_subobj_list* list, long count, int first, int second);
  virtual int disableAccess(pyx_node_subobj_list* list, long count);
  // Puts the content of snapshots back onto their sources: ids of sources and snapshots, count of
  // each, session id, split type, names, and one status a pair. Default: not supported.
  virtual int restore(orca_objid** sources, orca_objid** snapshots, long count, char* sessionId,
                      char* splitType, char*** names, long* nameCount, long flags, long* statuses);
  // Copies the changes since the snapshot. Returns 0.
  virtual int resync(orca_objid** sources, orca_objid** snapshots, long count, char* sessionId,
                     char* splitType, long flags, long* statuses);
  // The state of snapshots, one status a pair. Default: 8 (ready) for each. Returns 0.
  virtual int getStatus(orca_objid** sources, orca_objid** snapshots, long count, char* sessionId,
                        long flags, long* statuses);
  // Before prepare, once a node. Returns 0.
  virtual int prePrepare(pyx_domain* domain);
  // Secondaries that a node could have. Default: count 0. Returns 0.
  virtual int queryValidSecondaries(char* node, orca_objid*** secondaries, long* count);
  // The state of a resource. Returns 0.
  virtual int resourceStatus(orca_objid* id, long flags, long* status, pyx_msg_info** info);
  // Called again with the nodes of all plug-ins. Returns 0.
  virtual int revisitPluginNodes(pyx_pgn_node_list* list);
  // Checks which nodes may be quiesced and split together. Returns 0.
  virtual int verifyQSCombos(pyx_splitnode** nodes, int count);
  // Adds the hosts of an import to the private data of the split nodes and says whether the
  // snapshots may move. A node without private data is passed over. Returns 0.
  virtual int setImportOptions(pyx_splitnode** nodes, int count, pyx_host_infn* hosts,
                               int transportable, void* extra);
  // Before the first buildAltTree of a tree. Returns 0.
  virtual int startBuildAltTree(pyx_domain* domain, orca_objid** ids, void* extra);
  // Names of resources on another host. Returns 0.
  virtual int translateResourceNames(char** names, int count, char** translated);
  // Lists enclosures. Returns 0, outputs untouched.
  virtual int enumerateEnclosures(pyx_enclosure_node_list** list, int* count, char* filter);
  // Makes a resource visible on a host. Returns 0.
  virtual int importResource(char** names, char* resource, char* hostName, char* options, int flags,
                             char** imported, char* sessionId);
  // Formats resources. Returns 0.
  virtual int format(char** resources, int count, char* type, char* name, char* options, int flags,
                     char*** formatted, int* formattedCount);
  // Lists hosts. Returns 0, outputs untouched.
  virtual int enumerateHostNodes(pyx_host_node_list** list, int* count, char* filter);
  // Brings resources on line. Returns 0.
  virtual int onlineResource(char** resources, int count, char* type, char* name, char* hostName,
                             char* options, int flags, char*** onlined, int* onlinedCount);
  // Withdraws a resource from a host. Returns 0.
  virtual int deportResource(char* resource, char* hostName, char* options, char* sessionId,
                             int flags);
  // Asks whether a name is that of a parent plug-in node. Returns 0.
  virtual int isParentPgn(char* name, int* answer, int flags);
  // Undoes format. Returns 0.
  virtual int unformat(char** resources, int count, int flags);
  // Before deportResource. Returns 0.
  virtual int preDeportResource(char* resource, int flags, char* hostName);
  // Takes a node's changed tree in. Returns 0.
  virtual int refreshTree(pyx_domain* domain, int flags, int count, pyx_resource* resources,
                          int resourceCount, int* changed, void* extra, int options);
  // The backup set of a node. Returns 0.
  virtual int getBackupset(pyx_domain* domain, int count, char** names, int flags,
                           pyx_bkupset* set);
  // The state of an application. Returns 0.
  virtual int getAppStatus(pyx_domain* domain, int kind, void* status);
  // Tell the provider how an operation, and a component of it, ended. Return 0.
  virtual int setOpStatus(pyx_domain* domain, int status);
  virtual int setCompStatus(pyx_domain* domain, int kind, char* component, int status);
  // Where a restore puts its data. Returns 0.
  virtual int setRestorepaths(pyx_domain* domain, char* path, int flags);
  // Makes a node of a snapshot replica. Returns 0.
  virtual int createSnapReplicaNode(pyx_domain* domain, pyx_snapreplica_ele* replica);
  // Takes the id of a replicated snapshot in. Returns 0.
  virtual int updateSnapshotId(pyx_domain* domain, pyx_domain* second, pyx_snapreplica_ele* replica,
                               int flags);
  // The id of the set that a snapshot belongs to. Returns 0.
  virtual int getSnapshotSetId(pyx_domain* domain, char** id);
  // Before select. Returns 0.
  virtual int preselect(pyx_splitnode* node, char* sessionId, pyx_splitnode** nodes, int count);
  // Takes the handle of a replicated snapshot in. Returns 0.
  virtual int updateSnapshotHandle(CFiSessionPtr& session, pyx_snapreplica_ele* replica);
  // The difference of two snapshots. Returns 0.
  virtual int getSnapdiff(pyx_domain* domain, pyx_snapreplica_ele* first,
                          pyx_snapreplica_ele* second, TrieNode_* difference);
  // After a node was deported. Returns 0.
  virtual int postDeport(pyx_domain* domain, pyx_domain* second);

  // The number that errMsg takes off error codes; kept in 32 bits.
  void setMessageIndexOffset(long offset);
  int32_t getMessageIndexOffset() const;
  // True once the process shuts down. Called with true it says so, for good and for all providers
  // of the process; called with false it only asks.
  static bool isShuttingDown(bool shutDown);
  // The provider's name; it stands in message keys and in the marker of interposed nodes.
  void setProviderName(const tstr& name);
  tstr getProviderName() const;
  // The name of the FIM that the provider serves; null sets "Orca".
  void setFimName(const char* name);
  const std::string& getFimName() const;

  // Hold the given manager from now on, in place of the one before.
  void registerCatalogManager(const CFiMessageCatalogManagerPtr& manager);
  void registerPrivateDataManager(const CFiPrivateDataManagerPtr& manager);
  void registerSessionManager(const CFiSessionManagerPtr& manager);
  void registerErrorManager(const CFiErrorManagerPtr& manager);
  // The registered managers; empty when there is none.
  const CFiErrorManagerPtr& errorManager() const;
  const CFiMessageCatalogManagerPtr& catalogManager() const;
  const CFiPrivateDataManagerPtr& privateDataManager() const;
  const CFiSessionManagerPtr& sessionManager() const;

  // Gives a device file to an owner and a group and waits until the system shows it: blocks for up
  // to ten waits of 30 seconds, and succeeds even if it never shows. -1 leaves an id as it is, and
  // never shows. Returns 0, 3 for an empty path, 18 when the file cannot be examined, 1091 when its
  // owner cannot be changed.
  int setOwnerIds(std::string resource, long ownerId, long groupId);

 protected:
  // The private data of a node, or an empty pointer without one, without a manager, or for null.
  CFiPrivateDataPtr findPrivateData(pyx_domain* domain) const;
  // The same, made when there is none. altNode non-zero marks an alternate node.
  CFiPrivateDataPtr findOrCreatePrivateData(pyx_domain* domain, int altNode) const;
  // The provider's own descriptions by list index, 0 or 1: the place to fill in parameters,
  // followed by updateXML. The first set serves all nodes; the second is handed out for primary
  // nodes.
  CFiConfigParamInfoList& firstConfigInfoList(int index);
  CFiConfigParamInfoList& secondConfigInfoList(int index);

 private:
  friend class CFiProviderSetup;

  int configGet(CFiPrivateData& data, int index, pyx_confspec& spec);
  int configSet(CFiPrivateData& data, int index, pyx_confspec& spec);
  char* completeValues(CFiPrivateData& data, int index);
  int configGetParam(CFiPrivateData& data, int index, bool primary, pyx_confspec& spec);
  int changeOwner(const char* path, long ownerId, long groupId);
  int retryOwner(const char* path, long ownerId, long groupId, int pass, bool& matches);

  std::string m_providerName;
  CFiErrorManagerPtr m_errorManager;
  CFiMessageCatalogManagerPtr m_catalogManager;
  CFiPrivateDataManagerPtr m_privateDataManager;
  CFiSessionManagerPtr m_sessionManager;
  CFiConfigParamInfoList m_firstInfoLists[2];
  CFiConfigParamInfoList m_secondInfoLists[2];
  std::string m_fimName;
  int32_t m_messageIndexOffset = 0;
};

using CFiPluginBasePtr = CFiSmartPtr<CFiPluginBase, CFiNullAllocator<CFiPluginBase>>;

}  // namespace orca_pdk_4_4

#endif

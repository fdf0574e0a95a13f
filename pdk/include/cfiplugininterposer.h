#ifndef ORCA_PDK_CFIPLUGININTERPOSER_H
#define ORCA_PDK_CFIPLUGININTERPOSER_H

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "cfiexport.h"
#include "cfipluginbase.h"
#include "cfitypes.h"

namespace orca_pdk_4_4 {

// A snapshot method (FIM) that an interposing provider offers.
struct ORCA_PDK_API SFiFimInfo {
  std::string group;      // name of the group that the FIM belongs to
  std::string fimName;    // the FI type that the FIM serves
  std::string fimDetail;  // the provider's own text
  int32_t flags = 0;      // ORed into a node's capability field
};

// A group of FIMs. The id belongs to the provider, the node to the framework.
struct ORCA_PDK_API SFiGroupInfo {
  std::string group;    // the group's name, also the name of its node
  std::string pattern;  // claim pattern of the FIM that registered the group last
  orca_objid* objid = nullptr;
  pyx_domain* node = nullptr;  // null until the framework sets the group's node up
};

// A provider that places itself between the framework and other snapshot methods: in front of every
// node whose name contains a registered claim pattern it interposes a node of its own, whose name
// is the provider's marker "<NAME>" followed by the node's name, and claims that one as secondary.
//
// FIMs are registered while the provider is set up, before the framework calls any node operation;
// searches walk the claim patterns in byte-wise ascending order. A derived provider overrides
// importNode to make devices visible on hosts.
class ORCA_PDK_API CFiPluginInterposer : public CFiPluginBase {
 public:
  CFiPluginInterposer();
  // Lets the object ids of the groups go.
  ~CFiPluginInterposer() override;

  // 2 (PYX_CLAIM_SECONDARY), with no secondaries, for a name that carries the provider's marker and
  // a registered pattern; else 0.
  int claim(orca_objid* primary, orca_objid*** secondaries, int* count) override;
  // 1 when a FIM of the node is named fiType, or for "any": the node's capability field is then set
  // to 2 (transportable) or 1 where hosts are set, and has the FIM's flags ORed in where not. Else
  // 0.
  int supportsFiType(pyx_domain* domain, char* fiType) override;
  // Imports the node's import id through importNode for the hosts of its private data and sets
  // *imported to that id, whatever importNode answers. 3 for a domain without an import name.
  int importTreeNode(pyx_domain* domain, orca_objid** first, orca_objid** second, int count,
                     orca_objid** imported) override;
  // Hangs the node's FIM list onto it, gives it the default node type and private data, and notes
  // the node of a group; a group's node that is noted already is left as it is. The list belongs to
  // the node until deInitNode, its texts stay allocated. Returns 0, 3 for a node without an id, 6
  // when an exception was raised: the node then has no list and can be set up again.
  int initNode(pyx_domain* domain, pyx_domain** members, int count, orca_objid* parent) override;
  // Makes the target's private data as an alternate node's and imports it through importNode unless
  // flag is set or the primary is transportable, has an intent or no private data. 3 without a
  // target.
  int initAltNode(pyx_domain* primary, pyx_domain* second, pyx_domain* target, bool flag) override;
  // Frees the elements of the node's FIM list, the list field keeps its value; lets the private
  // data go, and forgets the node of a group, whose record may end after that.
  void deInitNode(pyx_domain* domain) override;
  // Sets flag 0x8 of both nodes of every split node. Returns 0.
  int isReady(char* sessionId, pyx_splitnode** nodes, int count) override;
  // 1, with the new node's id and the ids of the FIM groups of the first pattern that the node's
  // name contains; 0 when there is none or the node's type is ignored. The array of groups is a
  // buffer of orca_alloc_buf. It is null when memory ran short; the count is still that of the
  // FIMs.
  int interpose(pyx_domain* domain, orca_objid** interposed, orca_objid*** groups,
                int* count) override;
  // Whether the node's name carries the provider's marker. 4 while no FIM is registered.
  int checkNodeExistence(pyx_domain* domain, int* exists) override;
  // Calls importNode (kind 2) by the flags: 0x4 gives 4; 0x1 and 0x2 import, the second boolean
  // false and true; other flags give 6. 3 for a null resource; a malformed one throws
  // CFiUdidException.
  int importResource(char** names, char* resource, char* hostName, char* options, int flags,
                     char** imported, char* sessionId) override;
  // The same with the third boolean true: 0x400 gives 0; 0x10 and 0x20 withdraw, the second boolean
  // true and false; 0x40 gives 4; other flags give 0.
  int deportResource(char* resource, char* hostName, char* options, char* sessionId,
                     int flags) override;

  // Nodes of these types (a bit mask, added to those before) are never interposed.
  virtual void addIgnoreNodeType(int nodeType);
  // The type that initNode gives to nodes.
  virtual void setDefaultNodeType(int nodeType);
  // Makes a device visible on hosts, or withdraws it; the meaning of the booleans and of the kind
  // (1: a tree or alternate node, 2: a resource) is the derived provider's. Default: not supported.
  virtual int importNode(tstr name, std::vector<tstr> hosts, bool first, bool second, bool third,
                         int kind);

  // Registers a FIM under a claim pattern; an empty pattern is refused with a trace. An empty group
  // becomes the FIM's name followed by "_FIM_GROUP". Registering a group again forgets its node.
  // Throws std::bad_alloc, having registered nothing, when memory is short.
  void addFim(std::string claimPattern, std::string fimName, std::string fimDetail, int flags,
              std::string group);
  // The FIMs of a node: for a group the first FIM that belongs to it, for a name with the marker
  // those of the first pattern in it, else none.
  std::vector<SFiFimInfo> getFims(tstr nodeName) const;
  // True when a group of exactly that name is registered.
  bool isGroupNode(tstr name) const;
  // All groups by name, and all FIMs by claim pattern.
  const std::map<std::string, SFiGroupInfo>& groups() const;
  const std::map<std::string, std::vector<SFiFimInfo>>& fims() const;

 private:
  using FimMap = std::map<std::string, std::vector<SFiFimInfo>>;

  std::string marker() const;
  FimMap::const_iterator findPattern(std::string_view name) const;
  std::span<const SFiFimInfo> findFims(const std::string& name) const;
  std::span<const SFiFimInfo> findGroupFim(const std::string& group) const;
  std::vector<tstr> hostsOf(const char* hostName, bool isImport) const;
  bool recordGroupNode(pyx_domain* domain);
  void forgetGroupNode(const pyx_domain* domain);
  void setUpNode(pyx_domain* domain);
  void hangFims(pyx_domain* domain);

  uint32_t m_ignoredNodeTypes = 0;
  int32_t m_defaultNodeType = 0;
  std::map<std::string, SFiGroupInfo> m_groups;
  FimMap m_fims;
};

}  // namespace orca_pdk_4_4

#endif

#include "cfiplugininterposer.h"

#include <fiutil_accounting.h>
#include <gtest/gtest.h>

#include <cstdlib>

#include "cfiudid.h"
#include "framework/test_provider.h"

namespace {

using namespace orca_pdk;
using orca_tests::Texts;
using orca_tests::TracedTest;

struct Import {
  std::string name;
  Texts hosts;
  bool first, second, third;
  int kind;
  bool operator==(const Import&) const = default;
};

class Importer : public CFiPluginInterposer {
 public:
  int importNode(tstr name, std::vector<tstr> hosts, bool first, bool second, bool third,
                 int kind) override {
    Texts names;
    for (const tstr& host : hosts) names.push_back(host.c_str());
    imports.push_back({name.c_str(), names, first, second, third, kind});
    return 77;
  }
  std::vector<Import> imports;
};

class Interposer : public TracedTest {
 protected:
  Interposer() {
    m_provider.registerTraceLog(m_log);
    m_provider.registerPrivateDataManager(m_nodes);
    m_provider.setProviderName("P");
    m_node.objid = &m_id;
    m_node.capability = &m_capability;
  }
  ~Interposer() override {
    for (char* text : m_fimTexts) std::free(text);
  }

  void name(const char* text) { m_name = text, m_id.name = m_name.data(); }
  void addFims() {
    m_provider.addFim("disk", "snapB", "detail B", 0x10, "");
    m_provider.addFim("disk", "snapA", "detail A", 0x20, "shared");
    m_provider.addFim("abc", "snapC", "detail C", 0x40, "shared");
    m_recorder.takeBody();
  }
  Texts fimNames(const char* node) const {
    Texts names;
    for (const SFiFimInfo& fim : m_provider.getFims(node)) names.push_back(fim.fimName);
    return names;
  }
  // The FIM list of the node as texts; the list's texts are freed with the test.
  Texts hungFims() {
    Texts fims;
    for (const pyx_node_fim* fim = m_node.fim_list; fim != nullptr; fim = fim->next) {
      fims.push_back(std::string(fim->detail->text) + "/" + fim->name->text);
      EXPECT_EQ(fim->detail->node, &m_node);
      m_fimTexts.insert(m_fimTexts.end(), {fim->detail->text, fim->name->text});
    }
    return fims;
  }

  Importer m_provider;
  CFiPrivateDataManagerPtr m_nodes{new CFiPrivateDataMap};
  std::string m_name;
  orca_objid m_id{nullptr, 3};
  int32_t m_capability = 1;
  pyx_domain m_node{};
  std::vector<char*> m_fimTexts;
};

TEST_F(Interposer, KeepsGroupsAsRegisteredAndForgetsTheirNodesWhenRegisteredAgain) {
  m_provider.addFim("", "snap", "", 0, "group");
  EXPECT_TRUE(m_provider.fims().empty() && m_provider.groups().empty());
  EXPECT_EQ(m_recorder.takeBody(),
            Texts{"1 ERROR: Invalid arg to addFim(), invalid claim pattern"});
  addFims();
  EXPECT_TRUE(m_provider.isGroupNode("snapB_FIM_GROUP"));
  EXPECT_FALSE(m_provider.isGroupNode("snapB_FIM_GROUPS"));
  const SFiGroupInfo& shared = m_provider.groups().at("shared");
  EXPECT_EQ(shared.pattern, "abc");
  EXPECT_STREQ(shared.objid->name, "shared");
  EXPECT_EQ(shared.objid->kind, 3);

  name("shared");
  EXPECT_EQ(m_provider.initNode(&m_node, nullptr, 0, nullptr), 0);
  EXPECT_EQ(shared.node, &m_node);
  m_provider.addFim("disk", "snapA", "", 0, "shared");
  EXPECT_EQ(m_provider.groups().at("shared").node, nullptr);
  hungFims();
  m_provider.deInitNode(&m_node);
}

TEST_F(Interposer, FindsTheFimsOfANode) {
  addFims();
  const struct {
    const char* node;
    Texts fims;
  } cases[] = {{"shared", {"snapC"}},
               {"snapB_FIM_GROUP", {"snapB"}},
               {"<P>/dev/disk1", {"snapB", "snapA"}},
               {"<P>/dev/disk/abc", {"snapC"}},
               {"/dev/disk1", {}},
               {"<P>/dev/sda", {}},
               {"<Q>/dev/disk1", {}}};
  for (const auto& c : cases) EXPECT_EQ(fimNames(c.node), c.fims) << c.node;
}

TEST_F(Interposer, ClaimsNamesWithMarkerAndPattern) {
  addFims();
  const struct {
    const char* node;
    int result;
    const char* line;
  } cases[] = {
      {"<P>/dev/disk1", 2, "3 Info, claiming node [<P>/dev/disk1] PYX_CLAIM_SECONDARY"},
      {"/dev/disk1", 0, "3 Info, NOT claiming node [/dev/disk1]"},
      {"<P>/dev/sda", 0, "3 Info, NOT claiming node [<P>/dev/sda]"},
      {nullptr, 0, "3 ERROR: Invalid primary object id for claim()"},
  };
  for (const auto& c : cases) {
    orca_objid id{const_cast<char*>(c.node), 3};
    orca_objid* some = &id;
    orca_objid** secondaries = &some;
    int count = 9;
    EXPECT_EQ(m_provider.claim(&id, &secondaries, &count), c.result);
    EXPECT_EQ(secondaries, c.result == 2 ? nullptr : &some);
    EXPECT_EQ(count, c.result == 2 ? 0 : 9);
    EXPECT_EQ(m_recorder.takeBody(), Texts{c.line});
  }
}

TEST_F(Interposer, InterposesANodeInFrontOfAMatchingOne) {
  addFims();
  name("/dev/disk1");
  orca_objid* own = nullptr;
  orca_objid** groups = nullptr;
  int count = 0;
  EXPECT_EQ(m_provider.interpose(&m_node, &own, &groups, &count), 1);
  EXPECT_EQ(m_recorder.takeBody(),
            (Texts{"3 CFiPluginInterposer::interpose - Looking for patten abc in /dev/disk1.",
                   "3 CFiPluginInterposer::interpose - Looking for patten disk in /dev/disk1.",
                   "3 Info, interposing with node [<P>/dev/disk1] on [/dev/disk1]."}));
  EXPECT_STREQ(own->name, "<P>/dev/disk1");
  ASSERT_EQ(count, 2);
  EXPECT_STREQ(groups[0]->name, "snapB_FIM_GROUP");
  EXPECT_STREQ(groups[1]->name, "shared");
  for (orca_objid* id : {own, groups[0], groups[1]}) orca_free_objid(id);
  orca_free_buf(groups, 2 * sizeof(orca_objid*));
}

TEST_F(Interposer, LeavesIgnoredTypesAndOtherNamesAlone) {
  addFims();
  m_provider.addIgnoreNodeType(0x2);
  m_provider.addIgnoreNodeType(0x8);
  for (const auto& [node, type] : {std::pair("/dev/disk1", 0xau), std::pair("/dev/sda", 0x5u)}) {
    name(node);
    m_node.node_type = type;
    EXPECT_EQ(m_provider.interpose(&m_node, nullptr, nullptr, nullptr), 0) << node;
  }
}

TEST_F(Interposer, AnswersExistenceAndReadinessOfItsNodes) {
  int exists = 9;
  EXPECT_EQ(m_provider.checkNodeExistence(&m_node, &exists), 4);
  EXPECT_EQ(exists, 9);
  addFims();
  for (const auto& [node, answer] : {std::pair("<P>x", 1), std::pair("x", 0)}) {
    name(node);
    EXPECT_EQ(m_provider.checkNodeExistence(&m_node, &exists), 0);
    EXPECT_EQ(exists, answer) << node;
  }
  pyx_domain second{};
  m_node.flags = 1;
  pyx_splitnode pair{&m_node, &second}, alone{&m_node, nullptr};
  pyx_splitnode* nodes[] = {&alone, &pair};
  EXPECT_EQ(m_provider.isReady(nullptr, nodes, 2), 0);
  EXPECT_EQ(m_node.flags, 9u);
  EXPECT_EQ(second.flags, 8u);
}

TEST_F(Interposer, AnswersFiTypesFromFlagsOrHosts) {
  addFims();
  name("<P>disk");
  char snapA[] = "snapA", any[] = "any", other[] = "snap";
  EXPECT_EQ(m_provider.supportsFiType(&m_node, other), 0);
  EXPECT_EQ(m_capability, 1);
  EXPECT_EQ(m_provider.supportsFiType(&m_node, snapA), 1);
  EXPECT_EQ(m_capability, 0x21);
  EXPECT_EQ(m_provider.supportsFiType(&m_node, any), 1);
  EXPECT_EQ(m_capability, 0x31);
  char host[] = "h1";
  pyx_host_infn hosts{host, nullptr};
  const CFiPrivateDataPtr data = m_nodes->findOrCreate(&m_node, 0);
  EXPECT_EQ(m_provider.supportsFiType(&m_node, any), 1);
  EXPECT_EQ(m_capability, 0x31);
  data->setHostList(&hosts);
  EXPECT_EQ(m_provider.supportsFiType(&m_node, any), 1);
  EXPECT_EQ(m_capability, 1);
  data->setTransportable(true);
  EXPECT_EQ(m_provider.supportsFiType(&m_node, snapA), 1);
  EXPECT_EQ(m_capability, 2);
}

TEST_F(Interposer, SetsANodeUpWithTypeFimsAndPrivateData) {
  addFims();
  m_provider.setDefaultNodeType(0x6);
  pyx_domain group{};
  char groupName[] = "shared";
  orca_objid groupId{groupName, 3};
  group.objid = &groupId;
  m_provider.initNode(&group, nullptr, 0, nullptr);
  EXPECT_EQ(m_provider.initNode(&group, nullptr, 0, nullptr), 0);

  name("<P>disk");
  m_node.node_type = 0x100;
  m_node.fim_aux = &group;
  m_recorder.takeBody();
  EXPECT_EQ(m_provider.initNode(&m_node, nullptr, 0, nullptr), 0);
  EXPECT_EQ(m_recorder.takeBody(), Texts{"3 CFiPluginInterposer::initNode for Node [<P>disk]"});
  EXPECT_EQ(m_node.name, m_id.name);
  EXPECT_EQ(m_node.node_type, 0x6u);
  EXPECT_EQ(m_node.fim_aux, nullptr);
  EXPECT_EQ(hungFims(), (Texts{"detail B/snapB", "detail A/snapA"}));
  EXPECT_EQ(m_node.fim_list->name->group, nullptr);
  EXPECT_EQ(m_node.fim_list->next->name->group, &group);
  EXPECT_EQ(m_node.fim_list->next->detail->group, &group);
  EXPECT_TRUE(m_nodes->find(&m_node));

  const pyx_node_fim* hung = m_node.fim_list;
  m_provider.deInitNode(&m_node);
  EXPECT_EQ(m_node.fim_list, hung);
  EXPECT_FALSE(m_nodes->find(&m_node));
  for (const char* kind : {"detail", "name"}) {
    m_fimTexts.push_back(kind[0] == 'd' ? group.fim_list->detail->text
                                        : group.fim_list->name->text);
  }
  m_provider.deInitNode(&group);
}

class ThrowingMap : public CFiPrivateDataMap {
  CFiPrivateData* create(pyx_domain*) override { throw std::runtime_error("no room"); }
};

TEST_F(Interposer, TurnsAnExceptionOfTheSetUpIntoAResult) {
  name("node");
  m_provider.registerPrivateDataManager(CFiPrivateDataManagerPtr(new ThrowingMap));
  EXPECT_EQ(m_provider.initNode(&m_node, nullptr, 0, nullptr), 6);
  const Texts lines = m_recorder.takeBody();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_TRUE(
      lines[1].starts_with("1 ERROR: Caught unhandled exception at ../cfiplugininterposer, "));
}

TEST_F(Interposer, ImportsAnAlternateNodeForTheHostsOfThePrimary) {
  const struct {
    bool flag, hasData, transportable;
    int intent, result;
  } cases[] = {{false, true, false, 0, 77},
               {true, true, false, 0, 0},
               {false, false, false, 0, 0},
               {false, true, true, 0, 0},
               {false, true, false, 1, 0}};
  name("target");
  m_provider.setDefaultNodeType(0x4);
  char host[] = "h1";
  pyx_host_infn hosts{host, nullptr};
  for (const auto& c : cases) {
    pyx_domain primary{};
    m_node.node_type = 0x1;
    if (c.hasData) {
      const CFiPrivateDataPtr data = m_nodes->findOrCreate(&primary, 0);
      data->setHostList(&hosts);
      data->setTransportable(c.transportable);
      data->setIntent(static_cast<pyx_intent>(c.intent));
    }
    EXPECT_EQ(m_provider.initAltNode(&primary, nullptr, &m_node, c.flag), c.result);
    EXPECT_EQ(m_node.node_type, 0x5u);
    EXPECT_TRUE(m_nodes->find(&m_node)->getIsAltNode());
    m_nodes->remove(&primary);
    m_nodes->remove(&m_node);
  }
  EXPECT_EQ(m_provider.imports, (std::vector<Import>{{"target", {"h1"}, false, false, false, 1}}));
  m_recorder.takeBody();
  EXPECT_EQ(m_provider.initAltNode(&m_node, nullptr, nullptr, false), 3);
  EXPECT_EQ(m_recorder.takeBody(), Texts{"1 ERROR: initAltNode(): target node is invalid."});
}

TEST_F(Interposer, ImportsATreeNodeAndHandsItsIdOutWhateverComesOfIt) {
  orca_objid* imported = nullptr;
  EXPECT_EQ(m_provider.importTreeNode(&m_node, nullptr, nullptr, 0, &imported), 3);
  EXPECT_EQ(m_recorder.takeBody(), Texts{"1 Error: Invalid input arguments to importTreeNode"});
  char importName[] = "lun7";
  orca_objid importId{importName, 3};
  m_node.import_objid = &importId;
  EXPECT_EQ(m_provider.importTreeNode(&m_node, nullptr, nullptr, 0, &imported), 77);
  EXPECT_EQ(imported, &importId);
  m_nodes->findOrCreate(&m_node, 0)->setTransportable(true);
  EXPECT_EQ(m_provider.importTreeNode(&m_node, nullptr, nullptr, 0, nullptr), 77);
  EXPECT_EQ(m_provider.imports, (std::vector<Import>{{"lun7", {}, false, false, false, 1},
                                                     {"lun7", {}, true, false, false, 1}}));
}

TEST(InterposerMemory, LeavesNoObjectIdOfGroupsBehind) {
  orca_accounting_reset();
  {
    CFiPluginInterposer provider;
    provider.addFim("a", "f", "", 0, "g");
    provider.addFim("b", "f", "", 0, "g");
    EXPECT_EQ(provider.importNode("x", {}, false, false, false, 2), 4);
  }
  EXPECT_EQ(orca_accounting_report(nullptr, nullptr), 0u);
}

// Resources.

TEST_F(Interposer, DecodesImportAndDeportFlags) {
  const struct {
    bool import;
    int flags, result;
    bool second, third;
  } cases[] = {{true, 0x1, 77, false, false},   {true, 0x2, 77, true, false},
               {true, 0x3, 77, false, false},   {true, 0x5, 4, false, false},
               {true, 0x0, 6, false, false},    {true, 0x8, 6, false, false},
               {false, 0x10, 77, true, true},   {false, 0x20, 77, false, true},
               {false, 0x30, 77, true, true},   {false, 0x40, 4, false, false},
               {false, 0x410, 0, false, false}, {false, 0x0, 0, false, false}};
  char resource[] = "UDID##a##b##c";
  char host[] = "h1";
  for (const auto& c : cases) {
    m_provider.imports.clear();
    const int result =
        c.import
            ? m_provider.importResource(nullptr, resource, host, nullptr, c.flags, nullptr, nullptr)
            : m_provider.deportResource(resource, host, nullptr, nullptr, c.flags);
    EXPECT_EQ(result, c.result) << c.flags;
    const Import call{resource, {"h1"}, false, c.second, c.third, 2};
    EXPECT_EQ(m_provider.imports, std::vector<Import>(result == 77 ? 1 : 0, call)) << c.flags;
  }
}

TEST_F(Interposer, TracesTheHostOfAResource) {
  char resource[] = "UDID##a##b##c";
  char host[] = "h1";
  for (char* name : {static_cast<char*>(nullptr), host}) {
    m_provider.importResource(nullptr, resource, name, nullptr, 0x4, nullptr, nullptr);
    m_provider.deportResource(resource, name, nullptr, nullptr, 0x40);
    m_provider.deportResource(resource, name, nullptr, nullptr, 0x400);
  }
  EXPECT_EQ(m_recorder.takeBody(),
            (Texts{"3 No hostname was passed to the importResource API",
                   "3 No hostname was passed to the deportResource API",
                   "3 Hostname [h1] was passed to importResource API. Adding it hostList ",
                   "3 Hostname [h1] was passed to deportResource API. Adding it hostList "}));
}

TEST_F(Interposer, RefusesResourcesThatAreNoIdentifiers) {
  char resource[] = "disk";
  EXPECT_EQ(m_provider.importResource(nullptr, nullptr, nullptr, nullptr, 1, nullptr, nullptr), 3);
  EXPECT_EQ(m_provider.deportResource(nullptr, nullptr, nullptr, nullptr, 0x10), 3);
  EXPECT_THROW(m_provider.importResource(nullptr, resource, nullptr, nullptr, 4, nullptr, nullptr),
               CFiUdidException);
  EXPECT_THROW(m_provider.deportResource(resource, nullptr, nullptr, nullptr, 0x400),
               CFiUdidException);
  EXPECT_EQ(m_recorder.takeBody(), Texts());
}

}  // namespace

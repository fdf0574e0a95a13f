#include "cfiplugininterposer.h"

#include <cstdlib>

#include "cfiudid.h"
#include "framework/test_provider.h"

namespace orca_tests {
namespace {

using namespace orca_pdk;

// Answers 77 to importNode and keeps its arguments: "NAME HOST... FIRST SECOND THIRD KIND".
class Importer : public CFiPluginInterposer {
 public:
  int importNode(tstr name, std::vector<tstr> hosts, bool first, bool second, bool third,
                 int kind) override {
    std::string import = name.c_str();
    for (const tstr& host : hosts) import += std::string(" ") + host.c_str();
    for (const int number : {+first, +second, +third, kind}) import += " " + std::to_string(number);
    imports.push_back(import);
    return 77;
  }
  Texts imports;
};

// The Importer is the provider "P" with FIMs under two patterns.
class Interposer : public ProviderTestOf<Importer> {
 protected:
  Interposer() {
    m_provider.setProviderName("P");
    m_node.capability = &m_capability;
    m_provider.addFim("disk", "snapB", "detail B", 0x10, "");
    m_provider.addFim("disk", "snapA", "detail A", 0x20, "shared");
    m_provider.addFim("abc", "snapC", "detail C", 0x40, "shared");
  }
  void name(const char* text) { m_id.name = const_cast<char*>(text); }
  int initNode(pyx_domain& node) { return m_provider.initNode(&node, nullptr, 0, nullptr); }
  // The texts of a node's FIM list; frees them.
  static Texts takeFims(const pyx_domain& node) {
    Texts fims;
    for (const pyx_node_fim* fim = node.fim_list; fim != nullptr; fim = fim->next) {
      fims.push_back(std::string(fim->detail->text) + "/" + fim->name->text);
      EXPECT_EQ(fim->detail->node, &node);
      EXPECT_EQ(fim->name->node, &node);
      std::free(fim->detail->text);
      std::free(fim->name->text);
    }
    return fims;
  }

  int32_t m_capability = 1;
  char m_host[3] = "h1";
  pyx_host_infn m_hosts{m_host, nullptr};
};

TEST_F(Interposer, ClaimsNodesWithTheMarkerThatHaveFims) {
  m_provider.addFim("", "snap", "", 0, "group");
  EXPECT_FALSE(m_provider.isGroupNode("group"));
  const std::tuple<const char*, std::string, int> cases[] = {{"shared", "snapC ", 0},
                                                             {"<P>/dev/disk1", "snapB snapA ", 2},
                                                             {"<P>/dev/disk/abc", "snapC ", 2},
                                                             {"<P>/dev/sda", "", 0},
                                                             {"<Q>/dev/disk1", "", 0}};
  orca_objid* some = &m_id;
  for (const auto& [node, fims, result] : cases) {
    std::string names;
    for (const SFiFimInfo& fim : m_provider.getFims(node)) names += fim.fimName + " ";
    EXPECT_EQ(names, fims) << node;
    orca_objid** secondaries = &some;
    int count = 9;
    name(node);
    EXPECT_EQ(m_provider.claim(&m_id, &secondaries, &count), result) << node;
    EXPECT_EQ(secondaries, result == 2 ? nullptr : &some) << node;
    EXPECT_EQ(count, result == 2 ? 0 : 9) << node;
  }
}

TEST_F(Interposer, InterposesANodeInFrontOfAMatchingOne) {
  name("/dev/disk1");
  orca_objid* own = nullptr;
  orca_objid** groups = nullptr;
  int count = 0;
  EXPECT_EQ(m_provider.interpose(&m_node, &own, &groups, &count), 1);
  ASSERT_EQ(count, 2);
  EXPECT_EQ((Texts{own->name, groups[0]->name, groups[1]->name}),
            (Texts{"<P>/dev/disk1", "snapB_FIM_GROUP", "shared"}));
  for (orca_objid* id : {own, groups[0], groups[1]}) orca_free_objid(id);
  orca_free_buf(groups, 2 * sizeof(orca_objid*));
  m_provider.addIgnoreNodeType(0x2);
  m_provider.addIgnoreNodeType(0x8);
  m_node.node_type = 0x6;
  EXPECT_EQ(m_provider.interpose(&m_node, nullptr, nullptr, nullptr), 0) << "an ignored type";
}

TEST_F(Interposer, AnswersWhetherANodeIsOneOfItsOwn) {
  int exists = 9;
  EXPECT_EQ(CFiPluginInterposer().checkNodeExistence(&m_node, &exists), 4);
  EXPECT_EQ(exists, 9);
  for (const auto& [text, answer] : {std::pair("/dev/x", 0), std::pair("<P>x", 1)}) {
    name(text);
    EXPECT_EQ(m_provider.checkNodeExistence(&m_node, &exists), 0) << text;
    EXPECT_EQ(exists, answer) << text;
  }
}

TEST_F(Interposer, SaysThatBothNodesOfAPairAreReady) {
  pyx_domain second{};
  m_node.flags = 1;
  pyx_splitnode pair{&m_node, &second}, alone{&m_node, nullptr};
  pyx_splitnode* nodes[] = {&alone, &pair};
  EXPECT_EQ(m_provider.isReady(nullptr, nodes, 2), 0);
  EXPECT_EQ(m_node.flags, 9U);
  EXPECT_EQ(second.flags, 8U);
}

TEST_F(Interposer, AnswersTheCapabilityOfAFiType) {
  name("<P>disk");
  const auto expectCapability = [&](std::string type, int result, int capability) {
    EXPECT_EQ(m_provider.supportsFiType(&m_node, type.data()), result) << type;
    EXPECT_EQ(m_capability, capability) << type;
  };
  expectCapability("snap", 0, 1);
  expectCapability("snapA", 1, 0x21);
  const CFiPrivateDataPtr data = m_nodes->findOrCreate(&m_node, 0);
  expectCapability("any", 1, 0x31);
  data->setHostList(&m_hosts);
  expectCapability("any", 1, 1);
  data->setTransportable(true);
  expectCapability("snapA", 1, 2);
}

TEST_F(Interposer, SetsANodeUpUntilItsEnd) {
  m_provider.setDefaultNodeType(0x6);
  pyx_domain group{};
  group.objid = m_provider.groups().at("shared").objid;
  EXPECT_EQ(initNode(group), 0);
  EXPECT_EQ(takeFims(group), Texts{"detail C/snapC"});
  const pyx_node_fim* hung = group.fim_list;
  EXPECT_EQ(initNode(group), 0);
  EXPECT_EQ(group.fim_list, hung) << "set up a second time";

  name("<P>disk");
  m_node.node_type = 0x100;
  m_node.fim_aux = &group;
  EXPECT_EQ(initNode(m_node), 0);
  EXPECT_EQ(m_node.name, m_id.name);
  EXPECT_EQ(m_node.node_type, 0x6U);
  EXPECT_EQ(m_node.fim_aux, nullptr);
  EXPECT_EQ(takeFims(m_node), (Texts{"detail B/snapB", "detail A/snapA"}));
  EXPECT_EQ(m_node.fim_list->name->group, nullptr);
  const pyx_node_fim* shared = m_node.fim_list->next;
  EXPECT_EQ(shared->name->group, &group);
  EXPECT_EQ(shared->detail->group, &group);
  EXPECT_TRUE(m_nodes->find(&m_node));

  m_provider.deInitNode(&m_node);
  m_provider.CFiPluginBase::deInitNode(&group);
  EXPECT_NE(m_node.fim_list, nullptr);
  EXPECT_EQ(group.fim_list, nullptr) << "the base clears it";
  EXPECT_FALSE(m_nodes->find(&m_node));
  EXPECT_FALSE(m_nodes->find(&group));
}

TEST_F(Interposer, SetsTheNodeOfAGroupUpAnewAfterItsEnd) {
  m_provider.addFim("abc", "snapD", "detail D", 0x80, "another");
  for (int life = 1; life <= 2; ++life) {
    pyx_domain group{};
    group.objid = m_provider.groups().at("shared").objid;
    EXPECT_EQ(initNode(group), 0) << "life " << life;
    EXPECT_EQ(takeFims(group), Texts{"detail C/snapC"}) << "life " << life;
    EXPECT_EQ(m_provider.groups().at("shared").node, &group);
    m_provider.deInitNode(&group);
    EXPECT_EQ(m_provider.groups().at("shared").node, nullptr) << "its record may go";
    group.fim_list = nullptr;
  }
}

TEST_F(Interposer, CanSetANodeUpAgainAfterAFailure) {
  struct FailingMap : CFiPrivateDataMap {
    CFiPrivateData* create(pyx_domain* domain) override {
      if (std::exchange(isFailing, false)) throw std::bad_alloc();
      return CFiPrivateDataMap::create(domain);
    }
    bool isFailing = true;
  };
  m_provider.registerPrivateDataManager(CFiPrivateDataManagerPtr(new FailingMap));
  pyx_domain group{};
  group.objid = m_provider.groups().at("shared").objid;
  EXPECT_EQ(initNode(group), 6);
  EXPECT_EQ(group.fim_list, nullptr);
  EXPECT_EQ(initNode(group), 0);
  EXPECT_EQ(takeFims(group), Texts{"detail C/snapC"});
  m_provider.deInitNode(&group);
}

TEST_F(Interposer, AnswersNullArguments) {
  char any[] = "any";
  orca_objid nameless{nullptr, 3};
  pyx_domain bare{};
  pyx_splitnode empty{nullptr, nullptr};
  pyx_splitnode* nodes[] = {nullptr, &empty};
  const std::pair<const char*, int> answers[] = {
      {"claim null", m_provider.claim(nullptr, nullptr, nullptr)},
      {"claim without a name", m_provider.claim(&nameless, nullptr, nullptr)},
      {"supportsFiType null type", m_provider.supportsFiType(&m_node, nullptr)},
      {"supportsFiType null node", m_provider.supportsFiType(nullptr, any)},
      {"interpose null", m_provider.interpose(nullptr, nullptr, nullptr, nullptr)},
      {"isReady null", m_provider.isReady(nullptr, nullptr, 2)},
      {"isReady empty", m_provider.isReady(nullptr, nodes, 2)}};
  for (const auto& [call, answer] : answers) EXPECT_EQ(answer, 0) << call;
  EXPECT_EQ(m_provider.initNode(nullptr, nullptr, 0, nullptr), 3);
  EXPECT_EQ(initNode(bare), 3);
  EXPECT_EQ(m_provider.importTreeNode(nullptr, nullptr, nullptr, 0, nullptr), 3);
  EXPECT_EQ(m_provider.checkNodeExistence(&m_node, nullptr), 3);
  m_provider.deInitNode(nullptr);
}

TEST_F(Interposer, ImportsAnAlternateNodeForTheHostsOfThePrimary) {
  m_provider.setDefaultNodeType(0x4);
  pyx_domain primary{};
  m_node.node_type = 0x1;
  EXPECT_EQ(m_provider.initAltNode(&primary, nullptr, &m_node, false), 0) << "no private data";
  EXPECT_EQ(m_node.node_type, 0x5u);
  EXPECT_TRUE(m_nodes->find(&m_node)->getIsAltNode());
  const CFiPrivateDataPtr data = m_nodes->findOrCreate(&primary, 0);
  data->setHostList(&m_hosts);
  const std::tuple<bool, bool, int, int> cases[] = {
      {false, false, 0, 77}, {true, false, 0, 0}, {false, true, 0, 0}, {false, false, 1, 0}};
  for (const auto& [flag, transportable, intent, result] : cases) {
    data->setTransportable(transportable);
    data->setIntent(static_cast<pyx_intent>(intent));
    EXPECT_EQ(m_provider.initAltNode(&primary, nullptr, &m_node, flag), result)
        << "flag " << flag << " transportable " << transportable << " intent " << intent;
  }
  EXPECT_EQ(m_provider.imports, Texts{"node h1 0 0 0 1"});
  EXPECT_EQ(m_provider.initAltNode(&m_node, nullptr, nullptr, false), 3);
}

TEST_F(Interposer, HandsTheIdOfAnImportedTreeNodeOutWhateverComesOfIt) {
  orca_objid* imported = nullptr;
  EXPECT_EQ(m_provider.importTreeNode(&m_node, nullptr, nullptr, 0, &imported), 3);
  m_node.import_objid = &m_id;
  EXPECT_EQ(m_provider.importTreeNode(&m_node, nullptr, nullptr, 0, &imported), 77);
  EXPECT_EQ(imported, &m_id);
  const CFiPrivateDataPtr data = m_nodes->findOrCreate(&m_node, 0);
  data->setTransportable(true);
  data->setHostList(&m_hosts);
  EXPECT_EQ(m_provider.importTreeNode(&m_node, nullptr, nullptr, 0, nullptr), 77);
  EXPECT_EQ(m_provider.imports, (Texts{"node 0 0 0 1", "node h1 1 0 0 1"}));
  EXPECT_EQ(m_provider.CFiPluginInterposer::importNode("x", {}, false, false, false, 2), 4);
}

// Imports or withdraws a resource.
int move(Importer& provider, bool import, char* resource, char* host, int flags) {
  return import ? provider.importResource(nullptr, resource, host, nullptr, flags, nullptr, nullptr)
                : provider.deportResource(resource, host, nullptr, nullptr, flags);
}

TEST_F(Interposer, DecodesTheFlagsOfAResource) {
  const std::tuple<bool, int, int, const char*> cases[] = {
      {true, 0x1, 77, "0 0 0"}, {true, 0x2, 77, "0 1 0"},   {true, 0x5, 4, ""},
      {true, 0x8, 6, ""},       {false, 0x20, 77, "0 0 1"}, {false, 0x30, 77, "0 1 1"},
      {false, 0x40, 4, ""},     {false, 0x410, 0, ""}};
  char resource[] = "UDID##a##b##c";
  for (const auto& [import, flags, result, booleans] : cases) {
    m_provider.imports.clear();
    SCOPED_TRACE((import ? "import " : "deport ") + std::to_string(flags));
    EXPECT_EQ(move(m_provider, import, resource, m_host, flags), result);
    EXPECT_EQ(move(m_provider, import, resource, nullptr, flags), result);
    const std::string api = import ? "importResource API" : "deportResource API";
    const Texts hosts{"3 Hostname [h1] was passed to " + api + ". Adding it hostList ",
                      "3 No hostname was passed to the " + api};
    EXPECT_EQ(m_recorder.takeBody(), result == 0 ? Texts() : hosts);
    const std::string name = "UDID##a##b##c ", rest = booleans + std::string(" 2");
    EXPECT_EQ(m_provider.imports,
              result == 77 ? (Texts{name + "h1 " + rest, name + rest}) : Texts());
  }
}

TEST_F(Interposer, RefusesResourcesThatAreNoIdentifiers) {
  for (const bool import : {true, false}) {
    EXPECT_EQ(move(m_provider, import, nullptr, m_host, 0x404), 3);
    EXPECT_THROW(move(m_provider, import, m_name, m_host, 0x404), CFiUdidException);
  }
}

}  // namespace
}  // namespace orca_tests

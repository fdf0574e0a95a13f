#include "cfiprovidersetup.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <functional>
#include <memory>

#include "cficonfiguration.h"
#include "cfiobjidlist.h"
#include "cfiudid.h"
#include "fiutil_accounting.h"
#include "framework/test_provider.h"
#include "support/node.h"

namespace orca_tests {
namespace {

using namespace orca_pdk;
using Nodes = std::vector<pyx_domain*>;

// A document with one value.
std::string document(const std::string& key, const std::string& value) {
  CFiConfigParamDataList list;
  list.params[key].key = key;
  list.params[key].value = value;
  list.updateXML();
  return list.getXML().c_str();
}

SFiProviderIdentity identityOf(const std::string& name) {
  SFiProviderIdentity identity;
  identity.providerName = name;
  identity.fimName = "copy";
  identity.messageIndexOffset = 100;
  return identity;
}

struct SetUpProvider : TestProvider {
  explicit SetUpProvider(const std::string& name)
      : setup(*this, identityOf(name), {"MSG_A", "MSG_A", "MSG_B", "MSG_B"}) {}
  CFiProviderSetup setup;
};

// Providers "one" and "two" whose settings let every line be traced into the test's folder, with
// catalogs in English and German.
class ProviderSetup : public ::testing::Test {
 protected:
  ProviderSetup() {
    for (const std::string name : {"one", "two"}) {
      writeFile(m_root.path() / "lib/orca/configfiles" / (name + ".conf"),
                "[DEBUG_TRACE_INFO]\n\"TRACEDIR\"=\"" + m_root.str() + "\"\n\"TRACEFILE\"=\"" +
                    name + "\"\n\"TRACELEVEL\"=dword:00000006\n");
      tstr dir, file;
      CFiConfigurationPathTool::getMessageFileInfo(tstr(name.c_str()), dir, file);
      const std::string bundle = std::string(dir.c_str()) + file.c_str();
      for (const std::string language : {"root", "en", "de"}) {
        const std::string source = bundle + "/" + language + ".txt";
        writeFile(source,
                  language + " { MSG_A { \"" + language +
                      " {0}\" } MSG_B { \"{0}|{1}\" } UNEXPECTED { \"{0} failed: {1}\" } }\n");
        EXPECT_EQ(std::system(("genrb -q -d " + bundle + " " + source).c_str()), 0);
      }
    }
  }
  std::unique_ptr<SetUpProvider> provider(const std::string& name) {
    auto made = std::make_unique<SetUpProvider>(name);
    if (made->errorManager()->getCount() == 2) made->errorManager()->registerHandler(&m_recorder);
    return made;
  }
  static std::string lastErrorIn(CFiPluginBase& provider, const char* language) {
    pyx_msg_info* info = nullptr;
    char* text = nullptr;
    provider.getLastError(&info);
    provider.getLocaleMessage(nullptr, info, language, &text);
    return text != nullptr ? text : "(null)";
  }

  Recorder m_recorder;
  TempDir m_root;
  ScopedEnv m_env{"ORCA_INSTALL_ROOT", m_root.str().c_str()};
  ScopedEnv m_lcAll{"LC_ALL", nullptr}, m_lcMessages{"LC_MESSAGES", nullptr}, m_lang{"LANG", "C"};
};

template <typename Manager>
bool isShared(const CFiSmartPtr<Manager, CFiContextSingletonAllocator<Manager>>& manager) {
  return manager && manager.get() == CFiContextSingletonAllocator<Manager>::instance();
}

TEST_F(ProviderSetup, NamesTheFimAsTheProviderWhereNothingElseIsSaid) {
  EXPECT_EQ(SFiProviderIdentity::named("one").fimName, "one");
}

TEST_F(ProviderSetup, GivesEachProviderItsOwnTextsAndNodes) {
  const auto one = provider("one"), two = provider("two");
  EXPECT_EQ(one->getFimName() + one->getProviderName().c_str(), "copyone");
  EXPECT_EQ(one->getMessageIndexOffset(), 100);
  const std::string path = two->getTraceLog()->getTracePath().c_str();
  EXPECT_TRUE(path.starts_with(m_root.str() + "/one.")) << path;
  for (const auto* each : {one.get(), two.get()}) {
    EXPECT_TRUE(isShared(each->getTraceLog()));
    EXPECT_TRUE(isShared(each->errorManager()));
    EXPECT_EQ(isShared(each->catalogManager()), each == one.get());
    EXPECT_EQ(isShared(each->privateDataManager()), each == one.get());
  }
  const CFiSessionPtr session = one->sessionManager()->findOrCreate("s1");
  EXPECT_EQ(two->sessionManager()->find("s1").get(), session.get());
  pyx_domain node{};
  EXPECT_TRUE(isShared(two->privateDataManager()->findOrCreate(&node, 0)->getTraceLog()));
  one->setup.pushMessage("MSG_A", PYX_SEV_ERROR, {icu::Formattable(7)});
  EXPECT_EQ(lastErrorIn(*one, "en"), "one: en 7");
  EXPECT_EQ(lastErrorIn(*two, "de"), "two: de 7");
}

TEST_F(ProviderSetup, WritesItsLogInTheLanguageOfTheEnvironment) {
  const ScopedEnv lang("LANG", "de_DE.UTF-8@euro");
  const auto one = provider("one");
  one->setup.pushMessage("MSG_A", PYX_SEV_ERROR, {icu::Formattable(7)});
  EXPECT_EQ(m_recorder.takeBody(), Texts{"1 MSG_A: one: de 7"});
}

TEST_F(ProviderSetup, MakesAPushedMessageTheLastErrorUntilItIsDeleted) {
  const auto one = provider("one");
  for (const auto severity : {PYX_SEV_ERROR, PYX_SEV_WARNING, PYX_SEV_INFO, PYX_SEV_DETAIL}) {
    one->setup.pushMessage("MSG_A", severity, {icu::Formattable("x")});
    EXPECT_EQ(one->errorManager()->getLastError()->getSeverity(), severity);
  }
  const std::string line = " MSG_A: one: en x";
  EXPECT_EQ(m_recorder.takeBody(), (Texts{"1" + line, "2" + line, "3" + line, "6" + line}));
  one->setup.pushMessage("MSG_A", PYX_SEV_ERROR, {});
  EXPECT_EQ(lastErrorIn(*one, "de"), "one: de MSG_A");
  one->delLastError(nullptr);
  EXPECT_EQ(lastErrorIn(*one, "de"), "(null)");
}

TEST_F(ProviderSetup, MakesWhatAnOperationThrowsTheLastErrorAndAResult) {
  const auto one = provider("one");
  const std::filesystem::path path = "/a<b";
  const std::tuple<std::function<int()>, int, std::string> cases[] = {
      {[] { return 77; }, 77, "(null)"},
      {[&]() -> int {
         throw SFiFailure{"MSG_A", {path}, FI_INVALID};
       },
       3, "one: en /a\u2039b"},
      {[]() -> int {
         throw SFiFailure{"MSG_A", {std::string("a\0\xFF", 3)}};
       },
       6, "one: en a\u2400\uFFFD"},
      {[]() -> int {
         throw SFiFailure{"MSG_A", {-5L}};
       },
       6, "one: en -5"},
      {[]() -> int { throw std::bad_alloc(); }, 5, "one: make failed: no memory"},
      {[]() -> int { throw std::runtime_error("why"); }, 6, "one: make failed: why"},
      {[]() -> int {
         throw CFiUdidException{"UDID##", 2};
       },
       6, "one: make failed: UDID##"},
      {[]() -> int { throw 1; }, 6, "one: make failed: unknown exception"}};
  for (const auto& [body, result, sentence] : cases) {
    one->delLastError(nullptr);
    EXPECT_EQ(one->setup.guarded("make", body), result) << sentence;
    EXPECT_EQ(lastErrorIn(*one, "en"), sentence);
  }
}

TEST_F(ProviderSetup, TracesAnOperationWithThePlaceOfItsBody) {
  const auto one = provider("one");
  m_recorder.lines.clear();
  EXPECT_EQ(one->setup.guarded("make", [] {}), FI_OK);
  const std::string place = " Function make [" + std::to_string(__LINE__ - 1);
  EXPECT_EQ(m_recorder.lines, (Texts{"6 Entering" + place + ", provider_setup_test.cpp]",
                                     "6 Exiting" + place + ", provider_setup_test.cpp]"}));
}

TEST_F(ProviderSetup, KeepsPrivateDataOfTheProvidersOwnClass) {
  struct Data : CFiPrivateData {
    using CFiPrivateData::CFiPrivateData;
    int own = 7;
  };
  const auto one = provider("one");
  one->setup.keepPrivateData<Data>();
  pyx_domain node{};
  const CFiPrivateDataPtr data = one->privateDataManager()->findOrCreate(&node, 0);
  EXPECT_EQ(static_cast<Data*>(data.get())->own, 7);
  EXPECT_EQ(data->getTraceLog().get(), one->getTraceLog().get());
}

TEST_F(ProviderSetup, TellsWhatTheFrameworkDidNotPass) {
  const auto one = provider("one");
  Node node("n"), nameless("");
  pyx_splitnode nowhere{};
  pyx_splitnode* nodes[] = {&node.split, &nowhere, nullptr};
  const orca_objid* none = nullptr;
  const std::pair<const char*, std::function<void()>> cases[] = {
      {"thing", [] { requireGiven(false, "thing"); }},
      {"object id", [&] { givenName(none); }},
      {"object id", [&] { givenName(&nameless.domain); }},
      {"node list", [] { givenNodes(nullptr, 1); }},
      {"node", [&] { givenNodes(nodes, 2); }},
      {"node", [&] { givenNodes(nodes + 2, 1); }},
      {"node", [&] { givenSnapshot(nullptr, &nowhere); }},
      {"node", [&] { one->setup.valuesOf(nullptr); }},
      {"node", [&] { one->setup.makeData(nullptr); }},
      {"set-up of the node", [&] { one->setup.dataOf(&node.domain); }}};
  for (const auto& [what, body] : cases) {
    one->delLastError(nullptr);
    EXPECT_EQ(one->setup.guarded("make", body), FI_INVALID);
    EXPECT_EQ(lastErrorIn(*one, "en"), std::string("one: en ") + what);
  }
  EXPECT_EQ(givenNodes(nodes, 1), Nodes{&node.domain});
  EXPECT_EQ(givenNodes(nullptr, 0), Nodes());
  EXPECT_EQ(givenSnapshot(&nameless.domain, &node.split), "n");
  EXPECT_EQ(givenSnapshot(&node.domain, &nowhere), "n");
  char here[256] = "";
  gethostname(here, sizeof here);
  EXPECT_EQ(givenHosts({}), std::vector<std::string>{here});
  EXPECT_EQ(givenHosts({"b", "a"}), (std::vector<std::string>{"b", "a"}));
  const CFiPrivateDataPtr made = one->setup.makeData(&node.domain);
  EXPECT_EQ(one->setup.dataOf(&node.domain).get(), made.get());
}

TEST_F(ProviderSetup, LooksAtValuesBeforeTheyAreTaken) {
  const auto one = provider("one");
  const CFiParameters parameters = CFiParameters().addNumber("keep", "M", 8, 1, 64);
  const std::tuple<int, int, std::string, std::string> cases[] = {
      {FI_CONFIG_SET, 1, document("keep", "9"), "(null)"},
      {FI_CONFIG_SET, 1, document("keep", "65"), "one: keep|65"},
      {FI_CONFIG_SETPARAM, 1, document("colour", "red"), "one: colour|keep"},
      {FI_CONFIG_SET, 1, "<a" + std::string(70, 'b'), "one: en \u2039a" + std::string(62, 'b')},
      {FI_CONFIG_SET, 0, "no document", "(null)"},
      {FI_CONFIG_GET, 1, "no document", "(null)"}};
  for (auto [mode, first, text, sentence] : cases) {
    one->delLastError(nullptr);
    pyx_confspec spec{first, 1, text.data()};
    const bool isTaken = sentence == "(null)";
    const auto look = [&, mode = mode] { checkConfig(mode, &spec, parameters); };
    EXPECT_EQ(one->setup.guarded("config", look), isTaken ? FI_OK : FI_INVALID);
    EXPECT_EQ(lastErrorIn(*one, "en"), sentence);
    EXPECT_EQ(spec.text, isTaken ? text.data() : nullptr) << sentence;
  }
}

TEST_F(ProviderSetup, AnswersForEachPairWhateverBecameOfTheOthers) {
  const auto one = provider("one");
  Node a("a"), b("b"), nameless("");
  orca_objid* sources[] = {nullptr, b.id, a.id};
  orca_objid* snapshots[] = {nameless.id, b.id, a.id};
  long statuses[] = {7, 7, 7};
  const auto failForB = [](const std::string& source, const std::string& snapshot) -> long {
    if (source == "b") throw SFiFailure{"MSG_A", {snapshot}};
    return FI_SNAPSHOT_READY;
  };
  EXPECT_EQ(one->setup.statusOfEach(sources, snapshots, 3, statuses, failForB), FI_OK);
  EXPECT_THAT(statuses, testing::ElementsAre(1, 1, 8));
  EXPECT_EQ(one->setup.statusOfEach(nullptr, snapshots, 3, statuses, failForB), FI_OK);
  EXPECT_THAT(statuses, testing::ElementsAre(1, 8, 8));
  EXPECT_EQ(one->setup.statusOfEach(sources, nullptr, 3, statuses, failForB), FI_INVALID);
  EXPECT_EQ(one->setup.restoreEach(sources, snapshots, 3, statuses, failForB), FI_INVALID);
  EXPECT_THAT(statuses, testing::ElementsAre(1, 1, 1)) << "nothing was begun";
  EXPECT_EQ(one->setup.restoreEach(sources + 1, snapshots + 1, 2, statuses, failForB), FI_FAILED);
  EXPECT_THAT(statuses, testing::ElementsAre(1, 0, 1));
  EXPECT_EQ(one->setup.restoreEach(sources + 2, snapshots + 2, 1, nullptr, failForB), FI_OK);
}

TEST_F(ProviderSetup, TakesAllSnapshotsOrWithdrawsThem) {
  const auto one = provider("one");
  const Texts items = {"a", "b", "c"};
  Texts withdrawn;
  orca_objid** ids = nullptr;
  int count = 7;
  const auto make = [&](const std::string& failing, bool isNamed) {
    return one->setup.guarded("make", [&] {
      one->setup.takeEach(
          items, &ids, &count,
          [&](const std::string& item, std::string& name) {
            if (item != failing || isNamed) name = item + "!";
            if (item == failing) throw SFiFailure{"MSG_A", {item}};
          },
          [&](const std::string& item, const std::string& name) {
            withdrawn.push_back(item + name);
            throw SFiFailure{"MSG_A", {"withdraw"}};
          });
    });
  };
  EXPECT_EQ(make("b", false), FI_FAILED);
  EXPECT_EQ(std::exchange(withdrawn, Texts()), Texts{"aa!"});
  EXPECT_EQ(make("b", true), FI_FAILED);
  EXPECT_EQ(std::exchange(withdrawn, Texts()), (Texts{"aa!", "bb!"}));
  EXPECT_EQ(lastErrorIn(*one, "en"), "one: en b") << "the failure, not what came after it";
  EXPECT_EQ(count, 7);
  EXPECT_EQ(make("", false), FI_OK);
  ASSERT_EQ(count, 3);
  EXPECT_STREQ(ids[2]->name, "c!");
  for (int i = 0; i < count; ++i) orca_free_objid(ids[i]);
  orca_free_buf(ids, 3 * sizeof *ids);
}

TEST_F(ProviderSetup, AnswersForNodesThatAreTheProviders) {
  const auto one = provider("one");
  Node node("n"), other("o"), nameless("");
  const auto claim = [&](const Node& asked) {
    orca_objid** none = &node.id;
    int count = 7;
    const auto isOurs = [](const std::string& name) { return name == "n"; };
    return one->setup.claimWhere(asked.id, &none, &count, isOurs) * 10 + count;
  };
  EXPECT_EQ(claim(node), PYX_CLAIM_PRIMARY * 10);
  EXPECT_EQ(claim(other), PYX_CLAIM_NONE * 10 + 7);
  EXPECT_EQ(claim(nameless), PYX_CLAIM_NONE * 10 + 7);
  int capability = 7;
  node.domain.capability = &capability;
  char types[][5] = {"copy", "any", "disk"};
  for (char* type : types) {
    const int isOurs = type == types[2] ? 0 : 1;
    EXPECT_EQ(one->setup.answerFiType(&node.domain, type), isOurs) << type;
    EXPECT_EQ(capability, isOurs) << type;
  }
  pyx_blob blob{};
  EXPECT_EQ(one->setup.answerNodeState(&node.domain, &blob, PYX_OPSTATE_GET), FI_OK);
  EXPECT_EQ(blob.length, 0U) << "not set up";
  one->setup.makeData(&node.domain);
  EXPECT_EQ(one->setup.answerNodeState(&node.domain, &blob, PYX_OPSTATE_GET), FI_OK);
  EXPECT_TRUE(std::string(blob.data).starts_with("<NODE_NAME>n</NODE_NAME>")) << blob.data;
  orca_free_buf(blob.data, blob.length);
}

TEST_F(ProviderSetup, ReadsWhatWasChosenForANode) {
  const auto one = provider("one");
  const CFiParameters parameters = CFiParameters().addNumber("keep", "M", 8, 1, 64);
  one->setup.describe(parameters);
  EXPECT_EQ(one->firstConfigInfoList(1).params.count("keep"), 1U);
  EXPECT_EQ(one->secondConfigInfoList(1).params.count("keep"), 1U);
  Node node("n");
  EXPECT_EQ(parameters.number(one->setup.valuesOf(&node.domain), "keep"), 8);
  const CFiPrivateDataPtr data = one->setup.makeData(&node.domain);
  one->setup.valuesOf(&node.domain);
  EXPECT_FALSE(data->hasConfigDataList(1)) << "looking makes no values";
  for (const auto& [value, result] : {std::pair("9", FI_OK), std::pair("65", FI_INVALID)}) {
    std::string text = document("keep", value);
    pyx_confspec spec{1, 1, text.data()};
    EXPECT_EQ(one->setup.checkedConfig(&node.domain, FI_CONFIG_SET, nullptr, &spec, parameters),
              result);
    free(spec.text);
    EXPECT_EQ(parameters.number(one->setup.valuesOf(&node.domain), "keep"), 9);
  }
}

TEST(ObjidList, FreesWhatItDoesNotHandOver) {
  orca_accounting_reset();
  orca_objid** ids = nullptr;
  int count = 7;
  CFiObjidList().handOver(ids, count);
  EXPECT_EQ(count, 0);
  {
    CFiObjidList list, lost;
    for (const char* name : {"a", "b"}) list.add(name);
    lost.add("c");
    list.handOver(ids, count);
  }
  ASSERT_EQ(count, 2);
  EXPECT_STREQ(ids[1]->name, "b");
  EXPECT_EQ(ids[1]->kind, 3);
  for (int i = 0; i < count; ++i) orca_free_objid(ids[i]);
  orca_free_buf(ids, 2 * sizeof *ids);
  EXPECT_EQ(orca_accounting_report(nullptr, nullptr), 0U);
}

TEST_F(ProviderSetup, FeedsTheErrorManagerUntilTheLastSetUpEnds) {
  for (const bool firstGoesFirst : {true, false}) {
    auto first = provider("one"), second = provider("two");
    const CFiTraceLogPtr log = first->getTraceLog();
    const CFiMessageCatalogManagerPtr catalogs = first->catalogManager();
    (firstGoesFirst ? first : second).reset();
    m_recorder.lines.clear();
    log->trace(3, "still %s", "heard");
    first.reset();
    second.reset();
    log->trace(3, "no longer %s", "heard");
    EXPECT_EQ(m_recorder.lines, Texts{"3 still heard"});
    EXPECT_EQ(CFiContextSingletonAllocator<CFiErrorManager>::instance(), nullptr);
    EXPECT_EQ(catalogs->getMessage("MSG_A", nullptr, "de"), tstr("<MSG_A>")) << "texts are gone";
    EXPECT_EQ(catalogs->getMessage("MSG_A", "mine", "de"), tstr("mine"));
  }
}

}  // namespace
}  // namespace orca_tests

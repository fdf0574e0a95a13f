// Every operation of the provider operation table while memory is short.

#include <cstdlib>

#include "cfiprivatedatamgr.h"
#include "cfistringtool.h"
#include "framework/all_operations.h"
#include "memory/importer.h"
#include "support/short_memory.h"
#include "support/trace_recorder.h"

namespace orca_tests {
namespace {

using namespace orca_pdk;

std::string textOf(const char* text) { return text == nullptr ? "null" : text; }

class CatalogFactory : public CFiMessageCatalogFactory {
 public:
  std::string getDefaultLanguage() override { return "en"; }
  CFiMessageCatalogPtr createCatalog(const std::string&) override { return CFiMessageCatalogPtr(); }
  CFiMessagePtr createMessage(const pyx_msg_info* info) override {
    CFiMessagePtr message(new CFiIcuMessage("", 0));
    message->deserialize(info);
    return message;
  }
};

// A provider with all its managers and a node that it has set up.
template <typename Provider>
struct Life {
  Life() {
    provider.setProviderName("a-provider-with-a-long-name");
    provider.registerErrorManager(errors);
    provider.registerPrivateDataManager(CFiPrivateDataManagerPtr(new CFiPrivateDataMap));
    catalogs->registerFactory(&factory);
    provider.registerCatalogManager(catalogs);
    node.objid = node.import_objid = &id;
    node.capability = &capability;
    data = provider.privateDataManager()->findOrCreate(&node, 0);
    data->setTransportable(false);
  }
  void describe() {
    CFiConfigParamInfoList& list = *data->configInfoList(1);
    for (const char* key : {"first-parameter-of-the-node", "second-parameter-of-the-node"}) {
      list.params[key].key = key;
      list.params[key].defaultValue = "a default that is longer than a small string";
    }
    list.updateXML();
  }
  std::string config(int mode, const char* text) {
    std::string input = text;
    pyx_confspec spec{1, 0, input.data()};
    char session[] = "a-session-with-a-long-name";
    const int result = provider.config(&node, mode, session, &spec);
    const EnoughMemory enough;
    const std::string answer = std::to_string(result) + textOf(spec.text);
    if (spec.text != input.data()) std::free(spec.text);
    return answer;
  }
  // What GET would answer.
  std::string values() {
    const EnoughMemory enough;
    return config(1, "");
  }

  Provider provider;
  CFiErrorManagerPtr errors{new CFiErrorManager};
  CFiMessageCatalogManagerPtr catalogs{new CFiMessageCatalogManager};
  CatalogFactory factory;
  char name[64] = "UDID##maker##product##enclosure-17##the-device";
  orca_objid id{name, 3};
  int32_t capability = 0;
  pyx_domain node{};
  CFiPrivateDataPtr data;
};

bool isNothing(const std::string&) { return false; }

// Sweeps what is done with a life; it has memory to begin and to end.
template <typename Provider = CFiPluginBase, typename Action>
void sweep(const std::string& name, Action action, bool (*isStated)(const std::string&) = isNothing,
           bool readsDocuments = false) {
  const auto work = [&action] {
    std::unique_ptr<Life<Provider>> life;
    {
      const EnoughMemory enough;
      life = std::make_unique<Life<Provider>>();
    }
    return action(*life);
  };
  const ShortMemory memory{name, work, isStated, readsDocuments};
  memory.sweepCold();
  memory.sweep();
}

TEST(TableMemory, AnswersEveryOperationOrThrows) {
  for (const bool isTraced : {false, true}) {
    TraceRecorder recorder;
    const auto callAll = [&](CFiPluginBase& provider) {
      if (isTraced) provider.registerTraceLog(recorder.log);
      std::string results;
      for (const Operation& operation : allOperations()) {
        results += std::to_string(operation.call(provider));
      }
      return results;
    };
    const std::string suffix = isTraced ? ", traced" : "";
    sweep("every operation of the base" + suffix,
          [&](auto& life) { return callAll(life.provider); });
    sweep<CFiPluginInterposer>("every operation of the interposer" + suffix,
                               [&](auto& life) { return callAll(life.provider); });
  }
}

constexpr char kNew[] =
    "<ConfigValueList><ConfigValue><key>first-parameter-of-the-node</key><value>a value that was "
    "set</value></ConfigValue></ConfigValueList>";

TEST(TableMemory, LeavesTheValuesOfBeforeWhereTheyCannotBeSet) {
  const auto set = [](bool hasOld) {
    return [hasOld](auto& life) -> std::string {
      std::string before, answer;
      {
        const EnoughMemory enough;
        CFiConfigParamDataList("<a/>");  // without memory for it there would never be another one
        life.describe();
        if (hasOld)
          life.config(2,
                      "<ConfigValueList><ConfigValue><key>old</key><value>o</value>"
                      "</ConfigValue></ConfigValueList>");
        before = life.data->hasConfigDataList(1) ? life.values() : "none";
      }
      try {
        answer = life.config(2, kNew);
      } catch (const std::bad_alloc&) {
        const EnoughMemory enough;
        EXPECT_EQ(life.data->hasConfigDataList(1) ? life.values() : "none", before);
        throw;
      }
      const EnoughMemory enough;
      EXPECT_EQ(life.values(), answer);
      return answer;
    };
  };
  sweep("config SET of a node without values", set(false), isNothing, true);
  sweep("config SET of a node with values", set(true), isNothing, true);
}

TEST(TableMemory, GivesTheDefaultsWholeOrNone) {
  sweep("config GET", [](auto& life) {
    {
      const EnoughMemory enough;
      life.describe();
    }
    std::string answer;
    try {
      answer = life.config(1, "");
    } catch (const std::bad_alloc&) {
      EXPECT_NE(life.values(), "0null");
      throw;
    }
    return answer + life.values();
  });
  sweep("config GETPARAM, Clear", [](auto& life) {
    {
      const EnoughMemory enough;
      life.describe();
    }
    return life.config(4, "") + life.config(3, "") + life.config(1, "");
  });
}

TEST(TableMemory, TellsAnErrorWholeOrThrows) {
  sweep("errMsg", [](auto& life) {
    const char* text = nullptr;
    const int result = life.provider.errMsg(7, &text);
    const std::string answer = std::to_string(result) + textOf(text);
    char* owned = const_cast<char*>(text);
    life.provider.delLocaleMessage(&owned);
    return answer;
  });
  sweep("getLastError, getLocaleMessage", [](auto& life) {
    {
      const EnoughMemory enough;
      // ICU waits for itself for ever when memory ends in the first of these calls.
      icu::Locale::getDefault();
      CFiIcuMessage* const message = new CFiIcuMessage("MESSAGE_ID_THAT_IS_LONG", 3);
      message->addArgument("an argument that is longer than a small string");
      life.errors->pushError(CFiMessagePtr(message));
    }
    pyx_msg_info* info = nullptr;
    char* text = nullptr;
    int unused = 0;
    int result = life.provider.getLastError(&info);
    std::string answer = std::to_string(result);
    try {
      life.provider.getLocaleMessage(&unused, info, "en", &text);
      const EnoughMemory enough;
      answer += textOf(text);
      life.provider.delLocaleMessage(&text);
    } catch (const std::bad_alloc&) {
      EXPECT_EQ(text, nullptr);
      answer.clear();
    }
    life.provider.delLastError(&info);
    return answer;
  });
}

TEST(TableMemory, RemembersASessionWholeOrNot) {
  sweep("reAccessTmpObj, reAccessAltNode, processProviderState", [](auto& life) {
    char split[] = "a-split-type-with-a-long-name", session[] = "a-session-with-a-long-name";
    life.provider.reAccessTmpObj(&life.node, nullptr, split, nullptr, session, PYX_INTENT_NONE);
    life.provider.reAccessAltNode(&life.node, nullptr, nullptr, session, nullptr, nullptr, 0,
                                  PYX_INTENT_NONE);
    pyx_blob blob{};
    life.data->getNodeState(&blob);
    const EnoughMemory enough;
    const std::string state = textOf(blob.data);
    orca_free_buf(blob.data, blob.length);
    return life.data->getSplitType() + state;
  });
  sweep("setImportOptions, subobjList", [](auto& life) {
    char host[] = "a-host-with-a-long-name.example";
    pyx_host_infn second{host, nullptr}, first{host, &second};
    pyx_splitnode split{&life.node, nullptr};
    pyx_splitnode* nodes[] = {&split};
    try {
      life.provider.setImportOptions(nodes, 1, &first, 1, nullptr);
    } catch (const std::bad_alloc&) {
      const EnoughMemory enough;
      EXPECT_EQ(life.data->getHostList().size(), 0U) << "some of the hosts";
      throw;
    }
    life.data->addSubObject(&life.id);
    orca_objid** list = nullptr;
    int count = 0;
    life.provider.subobjList(&life.node, &list, &count);
    return std::to_string(life.data->getHostList().size()) + std::to_string(count) + list[0]->name;
  });
}

TEST(TableMemory, ChoosesATargetOrNone) {
  sweep("selectTargetFromConfigData", [](auto& life) {
    {
      const EnoughMemory enough;
      life.config(2,
                  "<ConfigValueList><ConfigValue><key>snapshot_resource_spec</key><value>"
                  "[enclosure-17##the-device;a-target-device-with-a-long-name]</value>"
                  "</ConfigValue></ConfigValueList>");
    }
    const int result = life.data->selectTargetFromConfigData();
    return std::to_string(result) + life.data->getConfiguredTarget();
  });
}

TEST(TableMemory, InterposesOrThrows) {
  sweep<Importer>(
      "addFim, interpose, claim, checkNodeExistence",
      [](auto& life) {
        life.provider.addFim("device", "a-fim-with-a-long-name-of-its-own", "detail", 1, "");
        orca_objid* own = nullptr;
        orca_objid** groups = nullptr;
        int count = 0, exists = 0;
        std::string answer;
        try {
          const int result = life.provider.interpose(&life.node, &own, &groups, &count);
          answer = std::to_string(result) + (own == nullptr ? "" : own->name);
          if (groups != nullptr) answer += groups[0]->name;
          if (own != nullptr) answer += std::to_string(life.provider.claim(own, nullptr, nullptr));
          life.provider.checkNodeExistence(&life.node, &exists);
        } catch (const std::bad_alloc&) {
          answer.clear();
        }
        if (groups != nullptr) orca_free_objid(groups[0]);
        orca_free_buf(groups, static_cast<std::size_t>(count) * sizeof *groups);
        orca_free_objid(own);
        return answer;
      },
      [](const std::string& result) { return result[0] == '1'; });
}

TEST(TableMemory, DeportsUnderTheWholeNameOrNotAtAll) {
  sweep<Importer>("importTreeNode, deportResource", [](auto& life) {
    char host[] = "a-host-with-a-long-name.example";
    pyx_host_infn hosts{host, nullptr};
    {
      const EnoughMemory enough;
      life.data->setHostList(&hosts);
    }
    orca_objid* imported = nullptr;
    life.provider.importTreeNode(&life.node, nullptr, nullptr, 0, &imported);
    life.provider.deportResource(life.name, host, nullptr, nullptr, 0x10);
    return life.provider.seen;
  });
}

}  // namespace
}  // namespace orca_tests

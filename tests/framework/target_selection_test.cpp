#include "cfiprivatedata.h"
#include "cfiudid.h"
#include "framework/test_provider.h"

namespace orca_tests {
namespace {

using namespace orca_pdk;

constexpr char kName[] = "UDID##v##p##enc1##dev7";

class TargetSelection : public TracedTest {
 protected:
  // Selects with the text as the parameter's value; null sets none.
  int select(const char* spec, const char* name = kName) {
    m_name = name;
    m_id.name = m_name.data();
    m_data.registerTraceLog(m_log);
    if (spec != nullptr) m_data.configDataList(1)->params["snapshot_resource_spec"].value = spec;
    return m_data.selectTargetFromConfigData();
  }

  std::string m_name;
  orca_objid m_id{nullptr, 3};
  CFiPrivateData m_data{&m_id};
};

TEST_F(TargetSelection, TakesTheFirstTargetOfTheMatchingEntryAndTracesEachStep) {
  EXPECT_EQ(select("[E2##01;02]\n[ENC1##DEV7;t&gt;1;ENC9##t3]&amp;[enc1##dev7;t4]"), 0);
  EXPECT_EQ(m_data.getConfiguredTarget(), "UDID##V##P##ENC1##T>1");
  EXPECT_EQ(m_data.getTargets(), (Texts{"t>1", "t3"}));
  const std::string udid = "[UDID##V##P##ENC1##DEV7] \n";
  EXPECT_EQ(
      m_recorder.takeBody(),
      (Texts{"3 called for UDID " + udid,
             "3 FI_CONFIG_PARAM_SNAPSHOT_RESOURCE_SPEC: "
             "[[E2##01;02]\n[ENC1##DEV7;t&gt;1;ENC9##t3]&amp;[enc1##dev7;t4]]",
             "3 Info: resourceSpec [E2##01;02] \n", "3 resourceSpec [E2##01] \n",
             "6 RESINFO: [E2][01]", "3 Info: resourceSpec [ENC1##DEV7;t>1;ENC9##t3] \n",
             "3 resourceSpec [ENC1##DEV7] \n", "6 RESINFO: [ENC1][DEV7]", "3 Source found " + udid,
             "3 resourceSpec [t>1] \n", "6 RESINFO: [ENC1][t>1]", "3 resourceSpec [ENC9##t3] \n",
             "6 RESINFO: [ENC9][t3]", "3 Target Udid [UDID##V##P##ENC1##T>1] \n"}));
}

TEST_F(TargetSelection, NamesTheReasonOfEachRefusal) {
  const std::pair<const char*, std::string> cases[] = {
      {nullptr, "Error: No snapshot configuration data has been specified for []"},
      {"", "Configuration \"\" has no resources specified for source []."},
      {"[]&amp;", "Configuration \"[]&\" has no resources specified for source []."},
      {"[;;]", "Source configuration \";;\" has not targets specified for []."},
      {"[E##;a][ENC1##DEV7;t1]",
       "Source configuration \"E##\" has no device data specified for []."},
      {"[ENC1##DEV7;t1;E##]", "Source configuration \"E##\" has no device data specified for []."},
      {"[dev7;t][ENC1##DEV7;t]",
       "Source configuration \"dev7\" has no enclosure data specified for []."},
      {"[ENC1##DEV7]", "Source configuration found, but no targets are specified for []."},
      {"[ENC1##D;a##][E##DEV7;a]", "No matching source specification found for []."}};
  for (const auto& [spec, reason] : cases) {
    EXPECT_EQ(select(spec), 6);
    std::string line = m_recorder.takeBody().back();
    line.erase(line.rfind(kName), std::size(kName) - 1);
    EXPECT_EQ(line, "1 " + reason);
  }
}

TEST_F(TargetSelection, ReadsTheSnapshotModeOnlyAndInsertsNothing) {
  m_data.configDataList(1);
  m_data.configDataList(0)->params["snapshot_resource_spec"].value = "[ENC1##DEV7;t1]";
  EXPECT_EQ(select(nullptr), 6);
  EXPECT_EQ(m_recorder.takeBody().back(),
            std::string("1 Configuration data parameter \"snapshot_resource_spec\" unspecified for "
                        "object [") +
                kName + "].");
  EXPECT_TRUE(m_data.configDataList(1)->params.empty());
}

TEST_F(TargetSelection, ClearsTheTargetsOnceThereAreEntries) {
  m_data.addTarget("old");
  m_data.setConfiguredTarget("chosen");
  select("[]");
  EXPECT_EQ(m_data.getTargets(), Texts{"old"});
  select("[ENC1##DEV7;t1;##]");
  EXPECT_EQ(m_data.getTargets(), Texts{"t1"});
  EXPECT_EQ(m_data.getConfiguredTarget(), "chosen");
}

TEST_F(TargetSelection, GoesThroughTheOperationsOfADerivedClass) {
  struct : CFiPrivateData {
    const char* getObjName() override { return "UDID##a##b##e##d"; }
    bool hasConfigDataList(int mode) override { return mode == 1; }
    CFiConfigParamDataList* configDataList(int) override { return &list; }
    void addTarget(std::string target) override { added.push_back(target); }
    Texts getTargets() override { return {"other"}; }
    void setConfiguredTarget(const std::string& target) override { chosen = target; }
    CFiConfigParamDataList list;
    Texts added;
    std::string chosen;
  } data;
  data.list.params["snapshot_resource_spec"].value = "[e##d;x]";
  EXPECT_EQ(data.selectTargetFromConfigData(), 0);
  EXPECT_EQ(data.added, Texts{"x"});
  EXPECT_EQ(data.chosen, "UDID##A##B##E##OTHER");
}

TEST_F(TargetSelection, LetsTheRefusalOfANodeNameOutAfterItsExitLine) {
  EXPECT_THROW(select("[a##b;c]", "/dev/sdc"), CFiUdidException);
  ASSERT_EQ(m_recorder.lines.size(), 2U);
  EXPECT_TRUE(m_recorder.lines[1].starts_with("6 Exiting Function selectTargetFromConfigData ["));
}

}  // namespace
}  // namespace orca_tests

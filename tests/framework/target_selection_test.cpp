#include "cfiprivatedata.h"
#include "cfiudid.h"
#include "framework/test_provider.h"

namespace orca_tests {
namespace {

using namespace orca_pdk;

std::string fieldsOf(const CFiUdid& udid) {
  return udid.getFirst() + "," + udid.getSecond() + "," + udid.getEnclosure() + "," +
         udid.getDevice() + (udid.isFourField() ? " 4 " : " 3 ") + udid.toString();
}

TEST(Udid, TakesTheFieldsAfterTheMarkerAndWritesThemBackInUpperCase) {
  const std::pair<const char*, std::string> cases[] = {
      {"UDID##A##B##C", "A,B,,C 3 UDID##A##B####C"},
      {"xyzUDID##a##b##e##d", "a,b,e,d 4 UDID##A##B##E##D"},
      {"UDID##a##b##e##d##UDID##f", "a,b,e,d##UDID##f 4 UDID##A##B##E##D##UDID##F"},
      {"UDID######d", ",,,d 3 UDID########D"},
      {"UDID##a##b####", "a,b,, 4 UDID##A##B####"}};
  for (const auto& [text, fields] : cases) EXPECT_EQ(fieldsOf(CFiUdid(tstr(text))), fields);
  CFiUdid again{tstr("UDID##a##b##e##d")};
  again.parse("UDID##x##y##z");
  EXPECT_EQ(fieldsOf(again), "x,y,,z 4 UDID##X##Y####Z");
}

TEST(Udid, NamesTheWholeTextAndTheReasonOfARefusal) {
  const std::pair<const char*, int> cases[] = {
      {"UDID##a##b##", 1}, {"a##b##c", 2}, {"", 2}, {"xUDID##ab", 3}, {"UDID##a##b", 4}};
  for (const auto& [text, code] : cases) {
    try {
      CFiUdid udid{tstr(text)};
      ADD_FAILURE() << text;
    } catch (const CFiUdidException& refusal) {
      EXPECT_EQ(std::pair(refusal.text, refusal.code), std::pair(std::string(text), code));
    }
  }
}

class TargetSelection : public TracedTest {
 protected:
  TargetSelection() { m_data.registerTraceLog(m_log); }
  // Selects with the text as the parameter's value; null sets none.
  int select(const char* spec) {
    if (spec != nullptr) m_data.configDataList(1)->params["snapshot_resource_spec"].value = spec;
    return m_data.selectTargetFromConfigData();
  }

  char m_name[24] = "UDID##v##p##enc1##dev7";
  orca_objid m_id{m_name, 3};
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
  m_data.configDataList(0)->params["snapshot_resource_spec"].value = "[ENC1##DEV7;t1]";
  const std::string node = std::string(" [") + m_name + "]";
  const auto refusal = [&](const char* spec) {
    EXPECT_EQ(select(spec), 6);
    return m_recorder.takeBody().back();
  };
  EXPECT_EQ(refusal(nullptr),
            "1 Error: No snapshot configuration data has been specified for" + node);
  const std::pair<const char*, std::string> cases[] = {
      {"", "Configuration \"\" has no resources specified for source"},
      {"[]&amp;", "Configuration \"[]&\" has no resources specified for source"},
      {"[;;]", "Source configuration \";;\" has not targets specified for"},
      {"[E##;a][ENC1##DEV7;t1]", "Source configuration \"E##\" has no device data specified for"},
      {"[ENC1##DEV7;t1;E##]", "Source configuration \"E##\" has no device data specified for"},
      {"[dev7;t][ENC1##DEV7;t]",
       "Source configuration \"dev7\" has no enclosure data specified for"},
      {"[ENC1##DEV7]", "Source configuration found, but no targets are specified for"},
      {"[ENC1##D;a##][E##DEV7;a]", "No matching source specification found for"}};
  for (const auto& [spec, reason] : cases) EXPECT_EQ(refusal(spec), "1 " + reason + node + ".");
  m_data.configDataList(1)->params.clear();
  EXPECT_EQ(refusal(nullptr),
            "1 Configuration data parameter \"snapshot_resource_spec\" unspecified for object" +
                node + ".");
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

TEST_F(TargetSelection, GoesThroughTheOperationsOfADerivedClassAndLetsItsRefusalOut) {
  struct : CFiPrivateData {
    const char* getObjName() override { return name; }
    bool hasConfigDataList(int mode) override { return mode == 1; }
    CFiConfigParamDataList* configDataList(int) override { return &list; }
    void addTarget(std::string target) override { log += target; }
    Texts getTargets() override { return {"other"}; }
    void setConfiguredTarget(const std::string& target) override { log += " " + target; }
    std::string log;
    const char* name = "UDID##a##b##e##d";
    CFiConfigParamDataList list;
  } data;
  data.list.params["snapshot_resource_spec"].value = "[e##d;x]";
  EXPECT_EQ(data.selectTargetFromConfigData(), 0);
  EXPECT_EQ(data.log, "x UDID##A##B##E##OTHER");
  data.name = "/dev/sdc";
  EXPECT_THROW(data.selectTargetFromConfigData(), CFiUdidException);
}

}  // namespace
}  // namespace orca_tests

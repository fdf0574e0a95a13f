#include <fiutil_accounting.h>
#include <gtest/gtest.h>

#include "cficonfiguration.h"
#include "cfiudid.h"
#include "support/private_usr.h"
#include "support/temp_dir.h"

namespace {

using namespace orca_pdk_4_4;
using namespace orca_tests;
using Tool = CFiConfigurationPathTool;

struct Paths : ::testing::Test {
  TempDir temp;
  std::string root = temp.str(), cache = root + "/lib/orca/cachefiles/";
  ScopedEnv env{"ORCA_INSTALL_ROOT", root.c_str()};
  tstr dir, file;
};

TEST_F(Paths, StandBelowTheInstallRootExceptTheTraceFolder) {
  orca_accounting_reset();
  EXPECT_EQ(Tool::getCacheLocationInfo(dir), 0);
  EXPECT_EQ(orca_accounting_report(nullptr, nullptr), 0U) << "the root's buffer went back";
  EXPECT_EQ(dir.c_str(), cache);
  EXPECT_EQ(Tool::verify(dir.c_str()), -1) << "only one missing level is made";
  Tool::getMessageFileInfo("demo", dir, file);
  EXPECT_EQ((dir + file).c_str(), root + "/resources/libdemo");
  EXPECT_EQ(std::filesystem::status(dir.c_str()).permissions(), std::filesystem::perms(0755));
  Tool::getConfigFileInfo("demo", dir, file);
  EXPECT_EQ((dir + file).c_str(), root + "/lib/orca/configfiles/demo.conf");
  if (!isUsrPrivate()) GTEST_SKIP() << "the trace folder needs a /usr/tarn of its own";
  EXPECT_EQ(Tool::getTraceFileInfo("demo", dir, file), 0);
  EXPECT_STREQ((dir + file).c_str(), "/usr/tarn/keystone/logs/frzcmd/demo.log");
  unsetenv("ORCA_INSTALL_ROOT");
  errno = ENOMEM;  // of another time
  EXPECT_EQ(Tool::getCacheLocationInfo(dir), 0);
  EXPECT_STREQ(dir.c_str(), "/usr/tarn/lib/orca/cachefiles/");
}

TEST_F(Paths, AnswerWhetherAnEnclosureWasKnown) {
  std::filesystem::create_directories(root + "/lib/orca");
  for (const int wanted : {-1, 0}) {
    EXPECT_EQ(Tool::getLunKey("UDID##V##P##e1##d", dir), wanted);
    EXPECT_EQ(dir.c_str(), cache + "luns/e1/UDID##V##P##e1##d");
    EXPECT_EQ(Tool::getDevKey("UDID##V##P##e1##d", dir), wanted);
    EXPECT_EQ(dir.c_str(), cache + "devHandle/e1/UDID##V##P##e1##d");
  }
  EXPECT_EQ(Tool::getLunKey("UDID##V##P##d", dir), 0) << "no enclosure: the folder itself";
  EXPECT_EQ(dir.c_str(), cache + "luns//UDID##V##P##d");
}

TEST_F(Paths, RefuseIdentifiersThatLeadOutOfTheCache) {
  std::filesystem::create_directories(root + "/lib/orca");
  const auto code = [this](const std::string& udid) {
    try {
      Tool::getLunKey(tstr(udid.data(), udid.size()), dir = "old");
    } catch (const CFiUdidException& error) {
      EXPECT_STREQ(dir.c_str(), "old");
      EXPECT_EQ(error.text, udid);
      return static_cast<int>(error.code);
    }
    return 0;
  };
  EXPECT_EQ(code("no marker"), FI_UDID_NO_MARKER);
  EXPECT_TRUE(std::filesystem::is_directory(cache + "luns")) << "made before it is read";
  const std::string start = "UDID##V##P##";
  for (const std::string& udid : {start + "..##d", start + "e/../f##d", start + "e##d/..",
                                  "../" + start + "e##d", start + "e##d" + '\0'}) {
    EXPECT_EQ(code(udid), FI_UDID_UNSAFE_FIELD) << udid;
  }
  for (const std::string& udid : {start + ".##d", start + "e##../d", start + "a/b##d",
                                  "/" + start + "e##d", start + "...##.."}) {
    EXPECT_EQ(code(udid), 0) << udid;
    EXPECT_EQ(std::string(dir.c_str()).substr(dir.length() - udid.size()), udid);
  }
}

}  // namespace

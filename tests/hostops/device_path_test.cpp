#include "cfistoragestacktool.h"

#include <gtest/gtest.h>

namespace {

using Tool = orca_pdk_4_4::CFiStoragestackTool;

TEST(DevicePath, RecognisesControllerTargetDiskNamesAndTheirSlices) {
  const struct {
    const char* name;
    bool disk;
    bool sliced;
  } cases[] = {
      {"c0t0d0", true, false},      {"c0t0d0s2", true, true},   {"c0t0d0s15", true, true},
      {"c12t3d45", true, false},    {"c00td0", true, false},    {"c1t5000A1B2d12s2", true, true},
      {"c0t0d0s", false, false},    {"cXt0d0", false, false},   {"ct0d00", false, false},
      {"c0td0", false, false},      {"x0t0d0", false, false},   {"c0x0d0", false, false},
      {"c12345", false, false},     {"c1234t", false, false},   {"c0t0d", false, false},
      {"c0t0ds2", false, false},    {"c0t0s2", false, false},   {"c0t000", false, false},
      {"c0t0d0s123", false, false}, {"c0d0t0s1", false, false}, {"", false, false},
      {"c0ts2d1", true, false},     {"c0t0d0 ", false, false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Tool::isCTDDiskFormat(c.name), c.disk) << c.name;
    EXPECT_EQ(Tool::isCTDSDiskFormat(c.name), c.sliced) << c.name;
  }
}

TEST(DevicePath, RemovesAndAddsTheDevPrefix) {
  const char* cases[][2] = {
      {"/dev/sda", "sda"}, {"/dev/", ""}, {"/devz/sda", "/devz/sda"}, {"x/dev/a", "x/dev/a"}};
  for (const auto& [name, expected] : cases) {
    std::string text = name;
    Tool::removeDevPrefix(text);
    EXPECT_EQ(text, expected);
  }
  EXPECT_EQ(Tool::makeCompleteDevName("/dev/sda"), "/dev//dev/sda");
  EXPECT_EQ(Tool::addDiskSliceToDisk("c0t0d0"), "c0t0d0");
}

TEST(DevicePath, CopiesPathsUnderDevAndLeavesTheOutputAloneForOthers) {
  for (const auto convert : {&Tool::makeRawToBlockPath, &Tool::makeBlockToRawPath}) {
    for (const char* path : {"/dev/qv/rdsk/dg/vol", "/dev/qv/dsk/dg/vol", "/dev/qv/rdmp/a",
                             "/dev/qv/dmp/a", "/dev/sda", "/dev/"}) {
      std::string out = "old";
      convert(path, out);
      EXPECT_EQ(out, path);
    }
    for (const char* path : {"sda", "", "/dev", "qv/rdsk/dg"}) {
      std::string out = "old";
      convert(path, out);
      EXPECT_EQ(out, "old") << path;
    }
  }
}

TEST(DevicePath, RecognisesEmcpowerDisksAndPartitions) {
  const struct {
    const char* name;
    bool disk;
    bool partition;
  } cases[] = {
      {"emcpowera", false, false},
      {"/dev/emcpower3", true, false},
      {"emcpower3i", true, false},
      {"emcpower12c", true, true},
      {"emcpower", false, false},
      {"emcpower3h", true, true},
      {"emcpowerXemcpower1a", false, false},
      {"sda", false, false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Tool::isEmcpowerDiskFormat(c.name), c.disk) << c.name;
    EXPECT_EQ(Tool::isEmcpowerRawpFormat(c.name), c.partition) << c.name;
  }
}

}  // namespace

#include "cfistoragestacktool.h"

#include <gtest/gtest.h>

namespace {

using Tool = orca_pdk_4_4::CFiStoragestackTool;

TEST(DevicePath, RecognisesControllerTargetDiskNamesAndTheirSlices) {
  for (const char* name : {"c0t0d0", "c12t3d45", "c00td0", "c0ts2d1"}) {
    EXPECT_TRUE(Tool::isCTDDiskFormat(name) && !Tool::isCTDSDiskFormat(name)) << name;
  }
  for (const char* name : {"c0t0d0s2", "c0t0d0s15", "c1t5000A1B2d12s2"}) {
    EXPECT_TRUE(Tool::isCTDDiskFormat(name) && Tool::isCTDSDiskFormat(name)) << name;
  }
  for (const char* name :
       {"c0t0d0s", "cXt0d0", "ct0d00", "c0td0", "x0t0d0", "c0x0d0", "c12345", "c1234t", "c0t0d", "",
        "c0t0ds2", "c0t0s2", "c0t000", "c0t0d0s123", "c0d0t0s1", "c0t0d0 "}) {
    EXPECT_FALSE(Tool::isCTDDiskFormat(name) || Tool::isCTDSDiskFormat(name)) << name;
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
  for (const char* name : {"/dev/emcpower3", "emcpower3i"}) {
    EXPECT_TRUE(Tool::isEmcpowerDiskFormat(name) && !Tool::isEmcpowerRawpFormat(name)) << name;
  }
  for (const char* name : {"emcpower12c", "emcpower3a", "emcpower3h"}) {
    EXPECT_TRUE(Tool::isEmcpowerDiskFormat(name) && Tool::isEmcpowerRawpFormat(name)) << name;
  }
  for (const char* name : {"emcpowera", "emcpower", "emcpowerXemcpower1a", "sda", ""}) {
    EXPECT_FALSE(Tool::isEmcpowerDiskFormat(name) || Tool::isEmcpowerRawpFormat(name)) << name;
  }
}

}  // namespace

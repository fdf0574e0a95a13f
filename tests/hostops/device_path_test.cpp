#include <gtest/gtest.h>

#include <sstream>

#include "cfistoragestacktool.h"

namespace {

using Tool = orca_pdk_4_4::CFiStoragestackTool;

TEST(DevicePath, TellsDisksSlicesAndPartitionsByTheirNames) {
  const std::pair<const char*, std::string> cases[] = {
      {"disk", "c0t0d0 c12t3d45 c00td0 c0ts2d1"},
      {"disk slice", "c0t0d0s2 c0t0d0s15 c1t5000A1B2d12s2"},
      {"power", "/dev/emcpower3 emcpower3i"},
      {"power partition", "emcpower12c emcpower3a emcpower3h"},
      {"",
       "c0t0d0s cXt0d0 ct0d00 c0td0 x0t0d0 c0x0d0 c12345 c1234t c0t0d c0t0ds2 c0t0s2 c0t000 "
       "c0t0d0s123 c0d0t0s1 emcpowera emcpower emcpowerXemcpower1a sda c"}};
  for (const auto& [kind, names] : cases) {
    std::istringstream all(names);
    for (std::string name; all >> name;) {
      std::string found = Tool::isCTDDiskFormat(name) ? "disk" : "";
      if (Tool::isCTDSDiskFormat(name)) found += " slice";
      if (Tool::isEmcpowerDiskFormat(name)) found += "power";
      if (Tool::isEmcpowerRawpFormat(name)) found += " partition";
      EXPECT_EQ(found, kind) << name;
    }
  }
}

TEST(DevicePath, IsChangedByItsDevPrefixAlone) {
  const char* cases[][3] = {{"/dev/sda", "sda", "/dev/sda"},
                            {"/dev/", "", "/dev/"},
                            {"/dev/qv/rdsk/v", "qv/rdsk/v", "/dev/qv/rdsk/v"},
                            {"/devz/sda", "/devz/sda", "old"}};
  for (const auto& [name, removed, converted] : cases) {
    std::string text = name, block = "old", raw = "old";
    Tool::removeDevPrefix(text);
    Tool::makeRawToBlockPath(name, block);
    Tool::makeBlockToRawPath(name, raw);
    SCOPED_TRACE(name);
    EXPECT_EQ(text, removed);
    EXPECT_EQ(block, converted);
    EXPECT_EQ(raw, converted);
    EXPECT_EQ(Tool::makeCompleteDevName(name), std::string("/dev/") + name);
    EXPECT_EQ(Tool::addDiskSliceToDisk(name), name);
  }
}

}  // namespace

#ifndef ORCA_PDK_CFISTORAGESTACKTOOL_H
#define ORCA_PDK_CFISTORAGESTACKTOOL_H

#include <string>

#include "cfiexport.h"

namespace orca_pdk_4_4 {

// Predicates on and conversions of device names and paths. They look at the text alone, never at
// the file system, keep no state and may be called from any thread. Digits are "0" to "9".
class ORCA_PDK_API CFiStoragestackTool {
 public:
  // True for a controller-target-disk name, with or without a slice: "c0t0d0", "c0t0d0s15". The
  // part between "t" and the disk is not looked at, so that it may be a world-wide name.
  static bool isCTDDiskFormat(std::string name);

  // True for a controller-target-disk name that ends in a slice of one or two digits: "c0t0d0s2".
  static bool isCTDSDiskFormat(std::string name);

  // Takes a leading "/dev/" off the name; any other name stays as it is.
  static void removeDevPrefix(std::string& name);

  // "/dev/" followed by the name.
  static std::string makeCompleteDevName(std::string const& name);

  // The block path of a raw path: a path under "/dev/" as it is. out is left alone for any other
  // text. in and out may be the same string.
  static void makeRawToBlockPath(std::string const& in, std::string& out);

  // The raw path of a block path, with the same results as makeRawToBlockPath.
  static void makeBlockToRawPath(std::string const& in, std::string& out);

  // True when a digit follows the first "emcpower" in the name: "/dev/emcpower3".
  static bool isEmcpowerDiskFormat(std::string name);

  // True for such a name that ends in a partition letter, "a" to "h": "emcpower12c".
  static bool isEmcpowerRawpFormat(std::string name);

  // The name itself: disks are addressed without a slice on this system.
  static std::string addDiskSliceToDisk(std::string name);
};

}  // namespace orca_pdk_4_4

#endif

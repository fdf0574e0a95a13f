#ifndef ORCA_PDK_CFIPBLM_H
#define ORCA_PDK_CFIPBLM_H

#include <bitset>
#include <cstdint>
#include <string>
#include <vector>

#include "cfiexport.h"
#include "cfitraceable.h"
#include "cfitypes.h"

namespace orca_pdk_4_4 {

// The LUN numbers of one enclosure.
struct lunNum {
  lunNum* next;             // the map of the next enclosure; null at the end
  std::bitset<256> used;    // bit n: number n is taken
  std::string enclosureId;  // the enclosure field of its devices' identifiers
};

// Allocates LUN numbers by enclosure and remembers them in cache files, one a device, below the
// install root (CFiConfigurationPathTool::getLunKey and getDevKey give their paths). The files are
// what lasts; the maps in memory are made from them. Only the first enclosure that is asked for is
// read from its files, a later one starts empty.
//
// A file holds the number as decimal text and is read by the rules of strtol: a text without a
// digit is the number 0. It is replaced as a whole, owner, group and mode kept: whoever reads it,
// also after a process was killed in between, finds the old number or the new one. What is on its
// way there is named ".new-<pid>-<number>"; a walk of a directory passes over such a name and
// removes the file when its process is gone. Every other name is a record.
//
// Results are 0 for success, 3 when there is nothing to do (no key, no enclosure id), 5 when memory
// is short, 26 when a file cannot be opened, read, written or removed; a null argument counts as an
// empty one. A write or removal that the system refused traces its reason at level 1. Where memory
// is short nothing was written, removed or appended, and a bool answer is false; a trace line that
// finds none is left out. No exception leaves an operation, a malformed device identifier counts as
// a file that cannot be opened; only a number above 255 given to resetLunNum, and a lowest number
// above 256 where a map is made, throw std::out_of_range.
//
// Threads: one at a time. Two processes that allocate on one enclosure at the same time may pick
// the same number.
class ORCA_PDK_API CFiPblmOps : public virtual CFiTraceable {
 public:
  // Numbers 0 to 255, no maps.
  CFiPblmOps();
  // Frees the maps.
  ~CFiPblmOps() override;

  // The lowest and highest number that is handed out.
  uint32_t getMinLunNum() const;
  uint32_t getMaxLunNum() const;
  // Sets both. A highest number above 255 becomes 255; maps that exist stay as they are.
  void setLunNumRange(unsigned int min, unsigned int max);

  // Makes a map of no enclosure, with the numbers below the lowest taken. The caller deletes it.
  int allocLunNumEle(lunNum** out);

  // Appends the first line of a file, 1023 bytes at most, to values.
  int getCacheRecord(char const* path, std::vector<std::string>& values);
  int getKeyValue(char const* path, std::vector<std::string>& values);
  // The record as a number by the rules of strtol, limited to the range of int; 0 without a digit.
  int getKeyValue(char const* path, int& value);
  // Writes the first of values to a file and marks the number in the enclosure's map when it is in
  // range. With a null enclId the file is written and the answer 3.
  int setKeyValue(char const* path, std::vector<std::string> values, char const* enclId);
  // Writes the device-handle file of a device: its LUN number. udid names the file, enclId the map;
  // the third text is accepted for the caller's own use.
  int setKeyValue(std::string const& enclId, tstr const& udid, std::string const& device,
                  int lunNumber);

  // Removes a file; of a LUN record also the mark of its number. 0 also when there is no file.
  int rmCacheRecord(char const* path);
  // Removes the file of that name in a directory when it holds the number, and the device-handle
  // file of the same device. dir ends in "/". 0 also when the file holds another number.
  int rmLunPathRecord(std::string file, tstr dir, std::string enclId, unsigned int* lunNumber);
  // Removes the records of an enclosure that hold a number. 3 also for a number out of range, 26
  // when the enclosure's directory cannot be read.
  int rmLunCacheRecord(char const* enclId, unsigned int lunNumber);

  // Marks the number of one file in the enclosure's map, which is made when there is none.
  void fillBitMap(std::string path, std::string enclId);
  // Walks the files of a directory, whose name ends in "/": with null, fills the map; else removes
  // the records that hold the number. False when the directory cannot be read.
  bool scanCache(std::string enclId, tstr dir, unsigned int* lunNumber);
  // scanCache of an enclosure's directory. The id stands in the path as it is; one that would lead
  // out of the cache directory is refused like one whose directory cannot be read.
  bool refreshCache(std::string enclId, unsigned int* lunNumber);
  // Finds or makes the map of an enclosure, letter case ignored; it stays the object's. False when
  // the directory of the first enclosure cannot be read.
  bool getEnclMap(char const* enclId, lunNum** map);

  // Appends all free numbers of an enclosure to out, the lowest first, and takes none of them.
  // False when there is none.
  bool getNewLunNum(char const* enclId, std::vector<std::string>& out);
  // The same, but always true: an empty out says that no number is free.
  bool getNewValue(char const* enclId, std::vector<std::string>& out);
  bool getNewValue(char const* enclId, std::vector<int>& out);

  // Clears the mark of a number in the first map whose enclosure id occurs in a path.
  void resetLunNum(char const* path, unsigned int lunNumber);

 private:
  static constexpr std::size_t kLineSize = 1024;

  void traceLine(int level, const char* format, ...) const noexcept ORCA_PDK_PRINTF(3, 4);
  void traceCause(const char* operation, const char* path) const;
  bool isInRange(long number) const;
  lunNum* addMap(const std::string& enclId, const char* failure);
  lunNum* findOrMakeMap(const std::string& enclId);
  void freeMaps();
  int readRecord(const char* path, char (&line)[kLineSize]);
  int readNumber(const char* path, long& number);
  bool refresh(const std::string& enclId, const unsigned int* lunNumber);
  bool walk(const std::string& enclId, const std::string& folder, const unsigned int* lunNumber);
  bool visit(const std::string& enclId, const std::string& folder, const char* name,
             const unsigned int* lunNumber);
  bool markRecord(const std::string& path, const std::string& enclId);
  int removeNumber(const std::string& folder, const std::string& file, unsigned int lunNumber);
  int markNumber(const char* value, const std::string* enclId);
  void freeNumber(const char* path);
  int removeDeviceHandle(const std::string& udid, const std::string& key);

  uint32_t m_minLun = 0;
  uint32_t m_maxLun = 255;
  lunNum* m_maps = nullptr;
};

}  // namespace orca_pdk_4_4

#endif

#ifndef FIHOST_FRAMEWORK_LUNRECORDS_H
#define FIHOST_FRAMEWORK_LUNRECORDS_H

#include <map>
#include <string>

namespace fihost {

// The records of LUN numbers in the install root, as they were when the object was made.
class LunRecords {
 public:
  LunRecords();

  // Which of them have been written or removed since, as a sentence without a point; that there are
  // none, where all could be looked at both times; else empty.
  std::string changes() const;

 private:
  void readFolder();

  std::map<std::string, std::string> m_values;  // by path
  bool m_isWhole = true;
};

}  // namespace fihost

#endif

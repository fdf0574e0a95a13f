#include <fcntl.h>

#include "array.h"
#include "fault.h"
#include "loop.h"

// The clones of the array. A copy grows in a file of its own and takes the place of the target's
// image when it is complete, so that the target holds its old content or the whole new one.

namespace fiarray {

namespace {

constexpr uint64_t kPiece = uint64_t{16} << 20;

void checkUnwritten(const File& source, const Clone& clone) {
  if (source.writeTime() == clone.sourceTime) return;
  throw Fault{kCopyFailed, clone.source + " was written while it was copied"};
}

}  // namespace

void Array::checkClone(const std::string& enclosure, const std::string& source,
                       const std::string& target) const {
  const Device& from = deviceOf(enclosure, source);
  const Device& to = deviceOf(enclosure, target);
  if (&from == &to) throw Fault{kConflict, source + " cannot be cloned onto itself"};
  if (from.size != to.size)
    throw Fault{kSizesDiffer, source + " and " + target + " differ in size"};
  if (!to.hosts.empty()) throw Fault{kConflict, target + " is mapped"};
  if (to.clone) {
    throw Fault{kConflict, target + " holds a clone of " + to.clone->source + ": forget it first"};
  }
  if (from.clone && from.clone->state != "done") {
    throw Fault{kConflict, source + " is itself an unfinished clone"};
  }
}

// Marks the target and, for a shared copy, makes the copy at once.
void Array::begin(const std::string& enclosure, const std::string& source,
                  const std::string& target, bool isShared) {
  const fs::path image = imageOf(enclosure, source);
  flush(image);
  detach(imageOf(enclosure, target));
  fs::remove(copyOf(enclosure, target));
  const File from(image, O_RDONLY);
  Device& device = deviceOf(enclosure, target);
  device.clone = Clone{fs::path(image).stem().string(), "copying", "", 0, from.writeTime()};
  m_store.save();
  if (!isShared) return;
  const File copy(copyOf(enclosure, target), O_RDWR | O_CREAT);
  if (share(from, copy)) {
    copy.sync();
    device.clone->copied = device.size;
  }
}

Answer Array::clone(const std::string& enclosure, const std::string& source,
                    const std::string& target, bool isShared, bool isBackground) {
  checkClone(enclosure, source, target);
  begin(enclosure, source, target, isShared);
  Device& device = deviceOf(enclosure, target);
  const bool isAtOnce = device.clone->copied == device.size;
  while ((isAtOnce || !isBackground) && device.clone->state == "copying") {
    advance(enclosure, target);
  }
  if (device.clone->state != "failed") return copyStatus(enclosure, target);
  const std::string cause = device.clone->cause;
  forget(enclosure, target);
  throw Fault{kCopyFailed, cause};
}

// One piece of a copy, or its end.
void Array::copyOn(const std::string& enclosure, const std::string& name, Device& device) {
  Clone& clone = *device.clone;
  const fs::path copyPath = copyOf(enclosure, name);
  if (clone.copied < device.size) {
    const File source(imageOf(enclosure, clone.source), O_RDONLY);
    const File copy(copyPath, clone.copied == 0 ? O_RDWR | O_CREAT : O_RDWR);
    checkUnwritten(source, clone);
    copy.resize(device.size);
    const uint64_t reached = copyPiece(source, copy, clone.copied, device.size, kPiece);
    copy.sync();
    checkUnwritten(source, clone);
    clone.copied = reached;
  }
  m_store.save();
  if (clone.copied < device.size) return;
  // A command that was killed after this left no copy, only the state as it was before.
  if (fs::exists(copyPath)) renameDurably(copyPath, imageOf(enclosure, name));
  clone.state = "done";
  m_store.save();
}

void Array::advance(const std::string& enclosure, const std::string& name) {
  Device& device = deviceOf(enclosure, name);
  try {
    copyOn(enclosure, name, device);
  } catch (const Fault& fault) {
    device.clone->state = "failed";
    device.clone->cause = fault.text;
    m_store.save();
  }
}

Answer Array::copyStatus(const std::string& enclosure, const std::string& name) {
  Device& device = deviceOf(enclosure, name);
  if (!device.clone) return {{"state", "none"}};
  if (device.clone->state == "copying") advance(enclosure, name);
  const Clone& clone = *device.clone;
  Answer answer{{"state", clone.state},
                {"source", clone.source},
                {"percent", std::to_string(clone.copied * 100 / device.size)}};
  if (!clone.cause.empty()) answer.emplace_back("cause", clone.cause);
  return answer;
}

Answer Array::forget(const std::string& enclosure, const std::string& name) {
  Device& device = deviceOf(enclosure, name);
  if (!device.hosts.empty()) throw Fault{kConflict, name + " is mapped"};
  const bool isChanged = device.clone.has_value();
  device.clone.reset();
  if (isChanged) m_store.save();
  fs::remove(copyOf(enclosure, name));
  return {{"changed", isChanged ? "1" : "0"}};
}

}  // namespace fiarray

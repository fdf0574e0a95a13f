#include "clones.h"

#include <cfiexecpipebase.h>
#include <cfistringtool.h>

#include <chrono>

#include "failure.h"

namespace arraysnap {

using namespace orca_pdk;

namespace {

using Clock = std::chrono::steady_clock;

constexpr long kPollMs = 20;

Reply ask(const ArrayTool& tool, const std::string& verb, const Device& device) {
  return tool.run({verb, device.enclosure, device.name});
}

bool sameName(const std::string& a, const std::string& b) {
  return CFiStringTool::CompareNoCase(a, b);
}

// Waits until a copy is done. Throws Failure when it fails, or stands still for longer than the
// tool may be silent.
void waitForCopy(const ArrayTool& tool, const Device& target) {
  std::string percent;
  Clock::time_point moved = Clock::now();
  for (;;) {
    const Reply reply = ask(tool, "copy-status", target);
    const std::string& state = reply.at("state");
    if (state == "done") return;
    if (state != "copying") {
      const std::string* cause = reply.find("cause");
      throw Failure{"ARRAYSNAP_COPY_FAILED", {target.udid, cause == nullptr ? state : *cause}};
    }
    if (reply.at("percent") != percent) {
      percent = reply.at("percent");
      moved = Clock::now();
      if (tool.log())
        tool.log()->trace(FI_TRACE_INFO, "%s: %s %%", target.udid.c_str(), percent.c_str());
    }
    if (Clock::now() - moved > std::chrono::seconds(tool.settings().timeout)) {
      throw Failure{"ARRAYSNAP_COPY_FAILED", {target.udid, "it stands still at " + percent + " %"}};
    }
    millisleep(kPollMs);
  }
}

// Clears up after a failure, which must stay the one that is told: what goes wrong here is only in
// the trace log.
void forgetOwn(const ArrayTool& tool, const Device& source, const Device& target) {
  try {
    const Reply reply = ask(tool, "copy-status", target);
    if (reply.at("state") == "none" || !sameName(reply.at("source"), source.name)) return;
    forgetClone(tool, target);
  } catch (...) {
    return;
  }
}

}  // namespace

void checkClone(const ArrayTool& tool, const Device& source, const Device& target) {
  const Reply from = ask(tool, "list", source);
  const Reply to = ask(tool, "list", target);
  const char* why = nullptr;
  if (sameName(source.name, target.name)) {
    why = "it is the source";
  } else if (from.at("size") != to.at("size")) {
    why = "its size differs";
  } else if (to.at("mapped") != "0") {
    why = "hosts see it";
  } else if (to.find("source") != nullptr) {
    why = "it holds another snapshot, which must be disposed of first";
  }
  if (why != nullptr) {
    throw Failure{"ARRAYSNAP_TARGET_UNUSABLE", {target.udid, source.udid, why}};
  }
}

void makeClone(const ArrayTool& tool, const Device& source, const Device& target, CloneMode mode) {
  const std::string how = mode == CloneMode::kCow ? "--cow" : "--full";
  bool isBegun = false;
  try {
    tool.run({"clone", source.enclosure, source.name, target.name, how, "--background"});
    isBegun = true;
    waitForCopy(tool, target);
  } catch (const Failure& failure) {
    // After a refusal the target may hold somebody else's clone.
    if (isBegun || failure.array == Array::kNotKnown) forgetOwn(tool, source, target);
    throw;
  } catch (...) {
    forgetOwn(tool, source, target);  // without memory nothing says how far it came
    throw;
  }
}

EFiSnapshotStatus statusOf(const ArrayTool& tool, const Device& source, const Device& target) {
  const Reply reply = ask(tool, "copy-status", target);
  const std::string& state = reply.at("state");
  const bool isOwn = state != "none" && sameName(reply.at("source"), source.name);
  if (isOwn && state == "done") return FI_SNAPSHOT_READY;
  return isOwn && state == "failed" ? FI_SNAPSHOT_DAMAGED : FI_SNAPSHOT_ABSENT;
}

void forgetClone(const ArrayTool& tool, const Device& target) { ask(tool, "forget", target); }

}  // namespace arraysnap

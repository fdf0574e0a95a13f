#include "framework/operationtable.h"

#include <cfitypes.h>

#include <fiutil.h>

#include <algorithm>
#include <array>

namespace fihost {

namespace {

constexpr Meaning kSuccess[] = {{0, "success"}};
constexpr Meaning kClaims[] = {
    {PYX_CLAIM_NONE, "not claimed"},
    {PYX_CLAIM_PRIMARY, "claimed"},
    {PYX_CLAIM_SECONDARY, "claimed as secondary"},
};
// An interposing provider answers yes or no, others in the capability of the node.
constexpr Meaning kSupports[] = {{0, "no, or as the capability says"}, {1, "yes"}};
// A provider without targets picks none.
constexpr Meaning kSelects[] = {{0, "success"}, {4, "operation not supported by this provider"}};
constexpr Meaning kInterposed[] = {{0, "not interposed"}, {1, "interposed"}};

// What other answers mean.
constexpr Meaning kResults[] = {
    {1, "yes"},
    {2, "claimed as secondary"},
    {3, "invalid or missing argument, no private data, or an invalid document"},
    {4, "operation not supported by this provider"},
    {5, "out of memory"},
    {6, "operation failed"},
    {18, "device cannot be queried"},
    {26, "file cannot be opened"},
    {31, "no credentials"},
    {1091, "owner of a device cannot be changed"},
};

// Of a pair; the last one is the good one.
constexpr Meaning kStatuses[] = {{orca_pdk::FI_SNAPSHOT_ABSENT, "absent"},
                                 {orca_pdk::FI_SNAPSHOT_DAMAGED, "damaged"},
                                 {orca_pdk::FI_SNAPSHOT_READY, "ready"}};
constexpr Meaning kRestoreStatuses[] = {{orca_pdk::FI_RESTORE_FAILED, "not restored"},
                                        {orca_pdk::FI_RESTORE_DONE, "restored"}};

constexpr Operation kOperations[] = {
    {Op::DelayedInit, "delayedInit", kSuccess, "", true},
    {Op::GlobalConfigInfoList, "globalConfigInfoList", {}, "", true},
    {Op::Init, "init", kSuccess, "", true},
    {Op::Fini, "fini", {}, "", true},
    {Op::Claim, "claim", kClaims, "", true},
    {Op::SupportsFiType, "supportsFiType", kSupports, "", true},
    {Op::DeportTree, "deportTree", kSuccess, "whether the tree is still visible is not known",
     true},
    {Op::ImportTreeNode, "importTreeNode", kSuccess,
     "whether anything was done for it is not known", true},
    {Op::InitNode, "initNode", kSuccess, "", true},
    {Op::ConfigGet, "config GET", kSuccess, "", true},
    {Op::ConfigSet, "config SET", kSuccess, "", true},
    {Op::ConfigClear, "config CLEAR", kSuccess, "", true},
    {Op::ConfigGetParam, "config GETPARAM", kSuccess, "", true},
    {Op::InitAltNode, "initAltNode", kSuccess, "whether anything was done for it is not known",
     true},
    {Op::ReAccessTmpObj, "reAccessTmpObj", kSuccess, "", true},
    {Op::ReAccessAltNode, "reAccessAltNode", kSuccess, "", true},
    {Op::DeInitNode, "deInitNode", {}, "", true},
    {Op::Dispose, "dispose", kSuccess,
     "whether the snapshot is still there is not known, and it stays in the list", true},
    {Op::Online, "online", kSuccess, "whether the snapshot is on line is not known", true},
    {Op::SubobjList, "subobjList", kSuccess, "", true},
    {Op::ErrMsg, "errMsg", kSuccess, "", true},
    {Op::BuildAltTree, "buildAltTree", kSuccess, "whether the tree has changed is not known", true},
    {Op::Quiesce, "quiesce", kSuccess, "", true},
    {Op::Unquiesce, "unquiesce", {}, "", true},
    {Op::Make, "make", kSuccess,
     "whether a snapshot was taken that was not handed out is not known", true},
    {Op::MakeSnapshots, "makeSnapshots", kSuccess,
     "whether a snapshot was taken that was not handed out is not known", true},
    {Op::Prepare, "prepare", kSuccess, "whether it left anything behind is not known", true},
    {Op::PrepareSnapshots, "prepareSnapshots", kSuccess,
     "whether it left anything behind is not known", true},
    {Op::Select, "select", kSelects, "whether targets were reserved is not known", true},
    {Op::SelectSnapshots, "selectSnapshots", kSuccess, "whether targets were reserved is not known",
     true},
    {Op::IsReady, "isReady", kSuccess, "", true},
    {Op::CacheDisable, "cacheDisable", kSuccess, "whether the cache is on is not known", true},
    {Op::CacheEnable, "cacheEnable", {}, "whether the cache is on is not known", true},
    {Op::CacheFlush, "cacheFlush", {}, "", true},
    {Op::Interpose, "interpose", kInterposed, "", true},
    {Op::GetAttr, "getAttr", kSuccess, "", true},
    {Op::GetProviderInfo, "getProviderInfo", kSuccess, "", true},
    {Op::EnumerateNodes, "enumerateNodes", kSuccess, "", true},
    {Op::EnumerateAssociations, "enumerateAssociations", kSuccess, "", true},
    {Op::EnumerateGroupNodes, "enumerateGroupNodes", kSuccess, "", true},
    {Op::EnumerateFims, "enumerateFims", kSuccess, "", true},
    {Op::IsValidNodeAssociation, "isValidNodeAssociation", kSuccess, "", true},
    {Op::GetAssociatedNodes, "getAssociatedNodes", kSuccess, "", true},
    {Op::CheckNodeExistence, "checkNodeExistence", kSuccess, "", true},
    {Op::Objctl, "objctl", kSuccess, "what the request has done is not known", true},
    {Op::ProcessProviderState, "processProviderState", kSuccess, "", true},
    {Op::GetLastError, "getLastError", kSuccess, "", false},
    {Op::DelLastError, "delLastError", kSuccess, "", false},
    {Op::GetLocaleMessage, "getLocaleMessage", kSuccess, "", false},
    {Op::DelLocaleMessage, "delLocaleMessage", kSuccess, "", false},
    {Op::EnableAccess, "enableAccess", kSuccess, "whether access was switched is not known", true},
    {Op::DisableAccess, "disableAccess", kSuccess, "whether access was switched is not known",
     true},
    {Op::Restore, "restore", kSuccess, "whether the node's content has changed is not known", true},
    {Op::Resync, "resync", kSuccess, "whether the content of any of them has changed is not known",
     true},
    {Op::GetStatus, "getStatus", kSuccess, "", true},
    {Op::PrePrepare, "prePrepare", kSuccess, "", true},
    {Op::QueryValidSecondaries, "queryValidSecondaries", kSuccess, "", true},
    {Op::ResourceStatus, "resourceStatus", kSuccess, "", true},
    {Op::RevisitPluginNodes, "revisitPluginNodes", kSuccess, "", true},
    {Op::VerifyQSCombos, "verifyQSCombos", kSuccess, "", true},
    {Op::SetImportOptions, "setImportOptions", kSuccess, "", true},
    {Op::StartBuildAltTree, "startBuildAltTree", kSuccess,
     "whether the tree has changed is not known", true},
    {Op::TranslateResourceNames, "translateResourceNames", kSuccess, "", true},
    {Op::EnumerateEnclosures, "enumerateEnclosures", kSuccess, "", true},
    {Op::ImportResource, "importResource", kSuccess,
     "whether anything else was done for it is not known", true},
    {Op::Format, "format", kSuccess, "whether their content has changed is not known", true},
    {Op::EnumerateHostNodes, "enumerateHostNodes", kSuccess, "", true},
    {Op::OnlineResource, "onlineResource", kSuccess, "whether they are on line is not known", true},
    {Op::DeportResource, "deportResource", kSuccess, "whether it is still visible is not known",
     true},
    {Op::IsParentPgn, "isParentPgn", kSuccess, "", true},
    {Op::Unformat, "unformat", kSuccess, "whether their content has changed is not known", true},
    {Op::PreDeportResource, "preDeportResource", kSuccess,
     "whether it is still visible is not known", true},
    {Op::RefreshTree, "refreshTree", kSuccess, "whether the tree has changed is not known", true},
    {Op::GetBackupset, "getBackupset", kSuccess, "", true},
    {Op::GetAppStatus, "getAppStatus", kSuccess, "", true},
    {Op::SetOpStatus, "setOpStatus", kSuccess, "", true},
    {Op::SetCompStatus, "setCompStatus", kSuccess, "", true},
    {Op::SetRestorepaths, "setRestorepaths", kSuccess, "whether the path was taken in is not known",
     true},
    {Op::CreateSnapReplicaNode, "createSnapReplicaNode", kSuccess,
     "whether it left anything behind is not known", true},
    {Op::UpdateSnapshotId, "updateSnapshotId", kSuccess, "whether the id was taken in is not known",
     true},
    {Op::GetSnapshotSetId, "getSnapshotSetId", kSuccess, "", true},
    {Op::Preselect, "preselect", kSuccess, "whether targets were reserved is not known", true},
    {Op::UpdateSnapshotHandle, "updateSnapshotHandle", kSuccess,
     "whether the handle was taken in is not known", true},
    {Op::GetSnapdiff, "getSnapdiff", kSuccess, "", true},
    {Op::PostDeport, "postDeport", kSuccess, "whether it left anything behind is not known", true},
    {Op::CatalogMessage, "getLocalizedMessage of the catalog", {}, "", false},
};

constexpr bool isInOrder() {
  for (std::size_t i = 0; i < std::size(kOperations); ++i) {
    if (static_cast<std::size_t>(kOperations[i].id) != i) return false;
  }
  return true;
}
static_assert(isInOrder());

const char* find(std::span<const Meaning> meanings, long number) {
  const auto found = std::find_if(meanings.begin(), meanings.end(),
                                  [&](const Meaning& entry) { return entry.number == number; });
  return found == meanings.end() ? nullptr : found->name;
}

std::span<const Meaning> statusesOf(Op op) {
  if (op == Op::Restore || op == Op::Resync) return kRestoreStatuses;
  return kStatuses;
}

}  // namespace

bool Operation::isGood(int code) const { return find(goodAnswers, code) != nullptr; }

std::string Operation::meaningOf(int code) const {
  const char* meaning = find(goodAnswers, code);
  if (meaning == nullptr) meaning = find(kResults, code);
  return meaning == nullptr ? "code without a known meaning" : meaning;
}

std::span<const Operation> allOperations() { return kOperations; }

const Operation& describe(Op op) { return kOperations[static_cast<std::size_t>(op)]; }

bool isKnownResult(int code) { return code == 0 || find(kResults, code) != nullptr; }

std::string statusName(Op op, long status) {
  if (status == kNoStatus) return "not told";
  const char* name = find(statusesOf(op), status);
  return name == nullptr ? std::to_string(status) : name;
}

bool isGoodStatus(Op op, long status) { return statusesOf(op).back().number == status; }

}  // namespace fihost

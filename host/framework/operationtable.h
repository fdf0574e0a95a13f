#ifndef FIHOST_FRAMEWORK_OPERATIONTABLE_H
#define FIHOST_FRAMEWORK_OPERATIONTABLE_H

#include <span>
#include <string>
#include <string_view>

namespace fihost {

// The operations of a provider, in the order of their table, and what else of it is called. The
// modes of config are operations of their own.
enum class Op {
  DelayedInit,
  GlobalConfigInfoList,
  Init,
  Fini,
  Claim,
  SupportsFiType,
  DeportTree,
  ImportTreeNode,
  InitNode,
  ConfigGet,
  ConfigSet,
  ConfigClear,
  ConfigGetParam,
  InitAltNode,
  ReAccessTmpObj,
  ReAccessAltNode,
  DeInitNode,
  Dispose,
  Online,
  SubobjList,
  ErrMsg,
  BuildAltTree,
  Quiesce,
  Unquiesce,
  Make,
  MakeSnapshots,
  Prepare,
  PrepareSnapshots,
  Select,
  SelectSnapshots,
  IsReady,
  CacheDisable,
  CacheEnable,
  CacheFlush,
  Interpose,
  GetAttr,
  GetProviderInfo,
  EnumerateNodes,
  EnumerateAssociations,
  EnumerateGroupNodes,
  EnumerateFims,
  IsValidNodeAssociation,
  GetAssociatedNodes,
  CheckNodeExistence,
  Objctl,
  ProcessProviderState,
  GetLastError,
  DelLastError,
  GetLocaleMessage,
  DelLocaleMessage,
  EnableAccess,
  DisableAccess,
  Restore,
  Resync,
  GetStatus,
  PrePrepare,
  QueryValidSecondaries,
  ResourceStatus,
  RevisitPluginNodes,
  VerifyQSCombos,
  SetImportOptions,
  StartBuildAltTree,
  TranslateResourceNames,
  EnumerateEnclosures,
  ImportResource,
  Format,
  EnumerateHostNodes,
  OnlineResource,
  DeportResource,
  IsParentPgn,
  Unformat,
  PreDeportResource,
  RefreshTree,
  GetBackupset,
  GetAppStatus,
  SetOpStatus,
  SetCompStatus,
  SetRestorepaths,
  CreateSnapReplicaNode,
  UpdateSnapshotId,
  GetSnapshotSetId,
  Preselect,
  UpdateSnapshotHandle,
  GetSnapdiff,
  PostDeport,
  CatalogMessage,
};

// A number and its name.
struct Meaning {
  long number;
  const char* name;
};

// What the host knows of an operation.
struct Operation {
  Op id;
  const char* name;
  // The answers that mean that it did what it was called for.
  std::span<const Meaning> goodAnswers;
  // What a failure of it may leave behind, as a sentence without a point; empty where it is not
  // called to change data.
  const char* leaves;
  // Whether it is a step of a verb's work. The others are called to explain what happened; they are
  // not listed, and nothing asks why one failed.
  bool isStep;

  bool isGood(int code) const;
  // The meaning of an answer; "code without a known meaning" where there is none.
  std::string meaningOf(int code) const;
};

// All that the host calls.
std::span<const Operation> allOperations();
const Operation& describe(Op op);

// Whether a number is one of the results that operations have.
bool isKnownResult(int code);

// A status that no provider gives: it shows which ones were written.
constexpr long kNoStatus = -1;

// The word for the status that getStatus or restore gives a pair of source and snapshot ("not told"
// for kNoStatus, the number where it has no word), and whether it is the good one.
std::string statusName(Op op, long status);
bool isGoodStatus(Op op, long status);

}  // namespace fihost

#endif

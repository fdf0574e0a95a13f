#include "framework/operations.h"
#include "framework/parameters.h"
#include "trace/form.h"
#include "trace/stage.h"

namespace fihost {

namespace {

using Texts = std::vector<std::string>;

// KEY=VALUE words as the document of values that they mean.
std::string documentOf(const Texts& words) {
  std::vector<std::pair<std::string, std::string>> settings;
  for (const std::string& word : words) {
    const std::size_t sign = word.find('=');
    if (sign == word.npos || sign == 0) throw "\"" + word + "\" is not KEY=VALUE";
    settings.emplace_back(word.substr(0, sign), word.substr(sign + 1));
  }
  return wantedValues("", settings).getXML().c_str();
}

ops::ResourceOptions optionsOf(const Stage& s) {
  return {s.text("type"), s.text("name"), s.text("host"), s.text("options"), s.number("flags")};
}

// Outputs that nobody looks at: the observers have seen them.
struct Unused {
  std::string text;
  Texts texts;
  std::vector<long> numbers;
  int number = 0;
  long longNumber = 0;
  ops::Listed list;
  ops::Interposed interposed;
};

constexpr Form kForms[] = {
    {Op::DelayedInit, "", [](Stage& s) { ops::delayedInit(s.caller()); }},
    {Op::GlobalConfigInfoList, "index= second=",
     [](Stage& s) {
       Unused u;
       ops::globalConfigInfoList(s.caller(), s.number("index") != 0 ? 1 : 0,
                                 s.number("second") != 0, u.text);
     }},
    {Op::Init, "", [](Stage& s) { ops::init(s.caller()); }},
    {Op::Fini, "", [](Stage& s) { ops::fini(s.caller()); }},
    {Op::Claim, "@node", [](Stage& s) { ops::claim(s.caller(), s.node("node")); }},
    {Op::SupportsFiType, "@node type",
     [](Stage& s) { ops::supportsFiType(s.caller(), s.node("node"), s.text("type")); }},
    {Op::DeportTree, "@node @second",
     [](Stage& s) { ops::deportTree(s.caller(), s.node("node"), s.node("second")); }},
    {Op::ImportTreeNode, "@node @import @firsts/seconds...",
     [](Stage& s) {
       Unused u;
       ops::importTreeNode(s.caller(), s.node("node"), s.node("import"), s.nodes("firsts"),
                           s.nodes("seconds"), u.text);
     }},
    {Op::InitNode, "@node", [](Stage& s) { ops::initNode(s.caller(), s.node("node")); }},
    {Op::ConfigGet, "@node",
     [](Stage& s) {
       Unused u;
       ops::configGet(s.caller(), s.node("node"), s.sessionId(), u.text);
     }},
    {Op::ConfigSet, "@node values...",
     [](Stage& s) {
       Unused u;
       ops::configSet(s.caller(), s.node("node"), s.sessionId(), documentOf(s.texts("values")),
                      u.text);
     }},
    {Op::ConfigSet, "@node text",
     [](Stage& s) {
       Unused u;
       ops::configSet(s.caller(), s.node("node"), s.sessionId(), s.text("text"), u.text);
     },
     "config document"},
    {Op::ConfigClear, "@node",
     [](Stage& s) { ops::configClear(s.caller(), s.node("node"), s.sessionId()); }},
    {Op::ConfigGetParam, "@node",
     [](Stage& s) {
       Unused u;
       ops::configGetParam(s.caller(), s.node("node"), s.sessionId(), u.text);
     }},
    {Op::InitAltNode, "@primary @target @second= flag=",
     [](Stage& s) {
       ops::initAltNode(s.caller(), s.node("primary"), s.nodeIf("second"), s.node("target"),
                        s.number("flag") != 0);
     }},
    {Op::ReAccessTmpObj, "@snapshot @source",
     [](Stage& s) {
       ops::reAccessTmpObj(s.caller(), s.node("snapshot"), s.node("source"), s.sessionId());
     }},
    {Op::ReAccessAltNode, "@node @first @second @firsts/seconds...",
     [](Stage& s) {
       ops::reAccessAltNode(s.caller(), s.node("node"), s.node("first"), s.node("second"),
                            s.sessionId(), s.nodes("firsts"), s.nodes("seconds"));
     }},
    {Op::DeInitNode, "@node", [](Stage& s) { ops::deInitNode(s.caller(), s.node("node")); }},
    {Op::Dispose, "@source @snapshot",
     [](Stage& s) { ops::dispose(s.caller(), s.node("source"), s.node("snapshot")); }},
    {Op::Online, "@source @snapshot flags=",
     [](Stage& s) {
       ops::online(s.caller(), s.node("source"), s.node("snapshot"), s.number("flags"));
     }},
    {Op::SubobjList, "@node",
     [](Stage& s) {
       Unused u;
       ops::subobjList(s.caller(), s.node("node"), u.texts);
     }},
    {Op::ErrMsg, "code",
     [](Stage& s) {
       Unused u;
       ops::errMsg(s.caller(), s.number("code"), u.text);
     }},
    {Op::BuildAltTree, "@node @firsts/seconds...",
     [](Stage& s) {
       Unused u;
       ops::buildAltTree(s.caller(), s.node("node"), s.nodes("firsts"), s.nodes("seconds"),
                         s.sessionId(), u.texts);
     }},
    {Op::Quiesce, "@nodes...",
     [](Stage& s) { ops::quiesce(s.caller(), s.nodes("nodes"), s.sessionId()); }},
    {Op::Unquiesce, "@nodes...", [](Stage& s) { ops::unquiesce(s.caller(), s.nodes("nodes")); }},
    {Op::Make, "@nodes...",
     [](Stage& s) {
       Unused u;
       ops::make(s.caller(), s.nodes("nodes"), s.sessionId(), u.texts);
     }},
    {Op::MakeSnapshots, "@nodes...", [](Stage& s) { ops::makeSnapshots(s.caller(), s.session()); }},
    {Op::Prepare, "@nodes...",
     [](Stage& s) { ops::prepare(s.caller(), s.nodes("nodes"), s.sessionId()); }},
    {Op::PrepareSnapshots, "@nodes...",
     [](Stage& s) { ops::prepareSnapshots(s.caller(), s.session()); }},
    {Op::Select, "@nodes...",
     [](Stage& s) { ops::select(s.caller(), s.nodes("nodes"), s.sessionId()); }},
    {Op::SelectSnapshots, "@nodes...",
     [](Stage& s) { ops::selectSnapshots(s.caller(), s.session()); }},
    {Op::IsReady, "@nodes...",
     [](Stage& s) {
       Unused u;
       ops::isReady(s.caller(), s.nodes("nodes"), s.sessionId(), u.numbers);
     }},
    {Op::CacheDisable, "@node flags=",
     [](Stage& s) { ops::cacheDisable(s.caller(), s.node("node"), s.number("flags")); }},
    {Op::CacheEnable, "@node flags=",
     [](Stage& s) { ops::cacheEnable(s.caller(), s.node("node"), s.number("flags")); }},
    {Op::CacheFlush, "@node flags=",
     [](Stage& s) { ops::cacheFlush(s.caller(), s.node("node"), s.number("flags")); }},
    {Op::Interpose, "@node",
     [](Stage& s) {
       Unused u;
       ops::interpose(s.caller(), s.node("node"), u.interposed);
     }},
    {Op::GetAttr, "@source @snapshot",
     [](Stage& s) { ops::getAttr(s.caller(), s.node("source"), s.node("snapshot")); }},
    {Op::GetProviderInfo, "",
     [](Stage& s) {
       Unused u;
       ops::getProviderInfo(s.caller(), u.list);
     }},
    {Op::EnumerateNodes, "filter= flags=",
     [](Stage& s) {
       Unused u;
       ops::enumerateNodes(s.caller(), s.text("filter"), s.number("flags"), u.list);
     }},
    {Op::EnumerateAssociations, "",
     [](Stage& s) {
       Unused u;
       ops::enumerateAssociations(s.caller(), u.list);
     }},
    {Op::EnumerateGroupNodes, "",
     [](Stage& s) {
       Unused u;
       ops::enumerateGroupNodes(s.caller(), u.list);
     }},
    {Op::EnumerateFims, "",
     [](Stage& s) {
       Unused u;
       ops::enumerateFims(s.caller(), u.list);
     }},
    {Op::IsValidNodeAssociation, "",
     [](Stage& s) {
       Unused u;
       ops::isValidNodeAssociation(s.caller(), u.number);
     }},
    {Op::GetAssociatedNodes, "",
     [](Stage& s) {
       Unused u;
       ops::getAssociatedNodes(s.caller(), u.list);
     }},
    {Op::CheckNodeExistence, "@node",
     [](Stage& s) {
       Unused u;
       ops::checkNodeExistence(s.caller(), s.node("node"), u.number);
     }},
    {Op::Objctl, "request arguments...",
     [](Stage& s) {
       Unused u;
       ops::objctl(s.caller(), s.text("request"), s.texts("arguments"), u.text);
     }},
    {Op::ProcessProviderState, "@node",
     [](Stage& s) {
       Unused u;
       ops::getProviderState(s.caller(), s.node("node"), u.text);
     }},
    {Op::EnableAccess, "@nodes...",
     [](Stage& s) { ops::enableAccess(s.caller(), s.nodes("nodes")); }},
    {Op::DisableAccess, "@nodes...",
     [](Stage& s) { ops::disableAccess(s.caller(), s.nodes("nodes")); }},
    {Op::Restore, "@sources/snapshots...",
     [](Stage& s) {
       Unused u;
       ops::restore(s.caller(), s.nodes("sources"), s.nodes("snapshots"), s.sessionId(), u.numbers);
     }},
    {Op::Resync, "@sources/snapshots...",
     [](Stage& s) {
       Unused u;
       ops::resync(s.caller(), s.nodes("sources"), s.nodes("snapshots"), s.sessionId(), u.numbers);
     }},
    {Op::GetStatus, "@sources/snapshots...",
     [](Stage& s) {
       Unused u;
       ops::getStatus(s.caller(), s.nodes("sources"), s.nodes("snapshots"), s.sessionId(),
                      u.numbers);
     }},
    {Op::PrePrepare, "@node", [](Stage& s) { ops::prePrepare(s.caller(), s.node("node")); }},
    {Op::QueryValidSecondaries, "node",
     [](Stage& s) {
       Unused u;
       ops::queryValidSecondaries(s.caller(), s.text("node"), u.texts);
     }},
    {Op::ResourceStatus, "@resource flags=",
     [](Stage& s) {
       Unused u;
       ops::resourceStatus(s.caller(), s.node("resource"), s.number("flags"), u.longNumber);
     }},
    {Op::RevisitPluginNodes, "", [](Stage& s) { ops::revisitPluginNodes(s.caller()); }},
    {Op::VerifyQSCombos, "@nodes...",
     [](Stage& s) { ops::verifyQSCombos(s.caller(), s.nodes("nodes")); }},
    {Op::SetImportOptions, "@nodes... hosts= transportable=",
     [](Stage& s) {
       ops::setImportOptions(s.caller(), s.nodes("nodes"), s.texts("hosts"),
                             s.number("transportable") != 0);
     }},
    {Op::StartBuildAltTree, "@node @nodes...",
     [](Stage& s) { ops::startBuildAltTree(s.caller(), s.node("node"), s.nodes("nodes")); }},
    {Op::TranslateResourceNames, "names...",
     [](Stage& s) {
       Unused u;
       ops::translateResourceNames(s.caller(), s.texts("names"), u.texts);
     }},
    {Op::EnumerateEnclosures, "filter=",
     [](Stage& s) {
       Unused u;
       ops::enumerateEnclosures(s.caller(), s.text("filter"), u.list);
     }},
    {Op::ImportResource, "resource host= flags=",
     [](Stage& s) {
       Unused u;
       ops::importResource(s.caller(), s.text("resource"), s.text("host"), s.number("flags"),
                           u.text);
     }},
    {Op::Format, "resources... type= name= options= flags=",
     [](Stage& s) {
       Unused u;
       ops::format(s.caller(), s.texts("resources"), optionsOf(s), u.texts);
     }},
    {Op::EnumerateHostNodes, "filter=",
     [](Stage& s) {
       Unused u;
       ops::enumerateHostNodes(s.caller(), s.text("filter"), u.list);
     }},
    {Op::OnlineResource, "resources... type= name= host= options= flags=",
     [](Stage& s) {
       Unused u;
       ops::onlineResource(s.caller(), s.texts("resources"), optionsOf(s), u.texts);
     }},
    {Op::DeportResource, "resource host= flags=",
     [](Stage& s) {
       ops::deportResource(s.caller(), s.text("resource"), s.text("host"), s.number("flags"));
     }},
    {Op::IsParentPgn, "name flags=",
     [](Stage& s) {
       Unused u;
       ops::isParentPgn(s.caller(), s.text("name"), s.number("flags"), u.number);
     }},
    {Op::Unformat, "resources... flags=",
     [](Stage& s) { ops::unformat(s.caller(), s.texts("resources"), s.number("flags")); }},
    {Op::PreDeportResource, "resource host= flags=",
     [](Stage& s) {
       ops::preDeportResource(s.caller(), s.text("resource"), s.text("host"), s.number("flags"));
     }},
    {Op::RefreshTree, "@node flags=",
     [](Stage& s) {
       Unused u;
       ops::refreshTree(s.caller(), s.node("node"), s.number("flags"), u.number);
     }},
    {Op::GetBackupset, "@node names... flags=",
     [](Stage& s) {
       ops::getBackupset(s.caller(), s.node("node"), s.texts("names"), s.number("flags"));
     }},
    {Op::GetAppStatus, "@node kind=",
     [](Stage& s) { ops::getAppStatus(s.caller(), s.node("node"), s.number("kind")); }},
    {Op::SetOpStatus, "@node status=",
     [](Stage& s) { ops::setOpStatus(s.caller(), s.node("node"), s.number("status")); }},
    {Op::SetCompStatus, "@node component kind= status=",
     [](Stage& s) {
       ops::setCompStatus(s.caller(), s.node("node"), s.number("kind"), s.text("component"),
                          s.number("status"));
     }},
    {Op::SetRestorepaths, "@node path flags=",
     [](Stage& s) {
       ops::setRestorepaths(s.caller(), s.node("node"), s.text("path"), s.number("flags"));
     }},
    {Op::CreateSnapReplicaNode, "@node",
     [](Stage& s) { ops::createSnapReplicaNode(s.caller(), s.node("node")); }},
    {Op::UpdateSnapshotId, "@source @snapshot flags=",
     [](Stage& s) {
       ops::updateSnapshotId(s.caller(), s.node("source"), s.node("snapshot"), s.number("flags"));
     }},
    {Op::GetSnapshotSetId, "@node",
     [](Stage& s) {
       Unused u;
       ops::getSnapshotSetId(s.caller(), s.node("node"), u.text);
     }},
    {Op::Preselect, "@node @nodes...",
     [](Stage& s) { ops::preselect(s.caller(), s.node("node"), s.nodes("nodes"), s.sessionId()); }},
    {Op::UpdateSnapshotHandle, "@nodes...",
     [](Stage& s) { ops::updateSnapshotHandle(s.caller(), s.session()); }},
    {Op::GetSnapdiff, "@node", [](Stage& s) { ops::getSnapdiff(s.caller(), s.node("node")); }},
    {Op::PostDeport, "@node @second",
     [](Stage& s) { ops::postDeport(s.caller(), s.node("node"), s.node("second")); }},
};

}  // namespace

std::span<const Form> allForms() { return kForms; }

}  // namespace fihost

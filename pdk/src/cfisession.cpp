#include "cfisession.h"

#include <utility>

namespace orca_pdk_4_4 {

template class CFiContextSingletonAllocator<CFiSessionManager>;

CFiSession::CFiSession(std::string id) : m_id(std::move(id)) {}
CFiSession::~CFiSession() = default;

const std::string& CFiSession::getId() const { return m_id; }

void CFiSession::addSplitNode(pyx_splitnode* node) { m_splitNodes.push_back(node); }

const std::vector<pyx_splitnode*>& CFiSession::getSplitNodes() const { return m_splitNodes; }

CFiSessionManager::CFiSessionManager() = default;
CFiSessionManager::~CFiSessionManager() = default;

CFiSessionPtr CFiSessionManager::find(const std::string& id) const {
  const auto found = m_sessions.find(id);
  return found != m_sessions.end() ? found->second : CFiSessionPtr();
}

CFiSessionPtr CFiSessionManager::findOrCreate(const std::string& id) {
  CFiSessionPtr& session = m_sessions[id];
  if (!session) session = CFiSessionPtr(new CFiSession(id));
  return session;
}

void CFiSessionManager::remove(const std::string& id) { m_sessions.erase(id); }

CFiObjctlArgs::CFiObjctlArgs() = default;
CFiObjctlArgs::~CFiObjctlArgs() = default;

}  // namespace orca_pdk_4_4

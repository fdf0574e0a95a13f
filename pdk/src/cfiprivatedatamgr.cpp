#include "cfiprivatedatamgr.h"

namespace orca_pdk_4_4 {

template class CFiContextSingletonAllocator<CFiPrivateDataManager>;

CFiPrivateDataManager::~CFiPrivateDataManager() = default;

CFiPrivateDataMap::CFiPrivateDataMap() = default;
CFiPrivateDataMap::~CFiPrivateDataMap() = default;

CFiPrivateDataPtr CFiPrivateDataMap::find(pyx_domain* domain) {
  const auto found = m_nodes.find(domain);
  return found != m_nodes.end() ? found->second : CFiPrivateDataPtr();
}

CFiPrivateDataPtr CFiPrivateDataMap::findOrCreate(pyx_domain* domain, int altNode) {
  if (domain == nullptr) return CFiPrivateDataPtr();
  CFiPrivateDataPtr data = find(domain);
  if (!data) {
    data = CFiPrivateDataPtr(create(domain));
    if (!data) return data;
    data->registerTraceLog(getTraceLog());
    m_nodes[domain] = data;
  }
  if (altNode != 0) data->setIsAltNode(true);
  return data;
}

void CFiPrivateDataMap::remove(pyx_domain* domain) { m_nodes.erase(domain); }

CFiPrivateData* CFiPrivateDataMap::create(pyx_domain* domain) {
  return new CFiPrivateData(domain->objid);
}

}  // namespace orca_pdk_4_4

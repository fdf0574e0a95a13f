#include "cfipluginbase.h"

#include "V_strings.h"
#include "cfiscope.h"
#include "cfistringtool.h"

namespace orca_pdk_4_4 {

namespace {

bool g_isShuttingDown = false;

}  // namespace

CFiPluginBase::CFiPluginBase() = default;
CFiPluginBase::~CFiPluginBase() = default;

int CFiPluginBase::errMsg(int code, const char** text) {
  const OperationScope scope(*this, kPluginBaseSource);
  if (text == nullptr) return FI_INVALID;
  int64_t number = code;
  if (m_messageIndexOffset < code) number -= m_messageIndexOffset;
  char digits[64];
  V_snprintf(digits, sizeof(digits), "%04d", static_cast<int>(number));
  const std::string name = CFiStringTool::tostrupper(CFiStringTool::tstr2str(m_providerName));
  const std::string key = "MSG_ERROR_" + name + "_" + digits;
  char* found = nullptr;
  if (m_catalogManager) m_catalogManager->getLocalizedMessage(key.c_str(), "native", &found);
  *text = found;
  return FI_OK;
}

int CFiPluginBase::getLastError(pyx_msg_info** info) {
  const OperationScope scope(*this, kPluginBaseSource);
  if (info == nullptr) return FI_INVALID;
  *info = nullptr;
  if (!m_errorManager) return FI_OK;
  const CFiMessagePtr message = m_errorManager->getLastError();
  if (message) *info = message->serialize();
  return FI_OK;
}

int CFiPluginBase::delLastError(pyx_msg_info** info) {
  const OperationScope scope(*this, kPluginBaseSource);
  if (m_errorManager) m_errorManager->deleteLastError(info);
  return FI_OK;
}

int CFiPluginBase::getLocaleMessage(int*, pyx_msg_info* info, const char* locale, char** text) {
  const OperationScope scope(*this, kPluginBaseSource);
  if (text == nullptr) return FI_INVALID;
  *text = nullptr;
  if (m_catalogManager) m_catalogManager->getLocalizedMessage(info, locale, text);
  return FI_OK;
}

int CFiPluginBase::delLocaleMessage(char** text) {
  const OperationScope scope(*this, kPluginBaseSource);
  if (m_catalogManager) m_catalogManager->deleteLocalizedMessage(text);
  return FI_OK;
}

void CFiPluginBase::setMessageIndexOffset(long offset) {
  m_messageIndexOffset = static_cast<int32_t>(offset);
}

int32_t CFiPluginBase::getMessageIndexOffset() const { return m_messageIndexOffset; }

bool CFiPluginBase::isShuttingDown(bool shutDown) {
  if (shutDown) g_isShuttingDown = true;
  return g_isShuttingDown;
}

void CFiPluginBase::setProviderName(const tstr& name) { m_providerName = name; }
tstr CFiPluginBase::getProviderName() const { return m_providerName; }

void CFiPluginBase::setFimName(const char* name) { m_fimName = name != nullptr ? name : "Orca"; }
const std::string& CFiPluginBase::getFimName() const { return m_fimName; }

void CFiPluginBase::registerCatalogManager(const CFiMessageCatalogManagerPtr& manager) {
  m_catalogManager = manager;
}

void CFiPluginBase::registerPrivateDataManager(const CFiPrivateDataManagerPtr& manager) {
  m_privateDataManager = manager;
}

void CFiPluginBase::registerSessionManager(const CFiSessionManagerPtr& manager) {
  m_sessionManager = manager;
}

void CFiPluginBase::registerErrorManager(const CFiErrorManagerPtr& manager) {
  m_errorManager = manager;
}

const CFiErrorManagerPtr& CFiPluginBase::errorManager() const { return m_errorManager; }

const CFiMessageCatalogManagerPtr& CFiPluginBase::catalogManager() const {
  return m_catalogManager;
}

const CFiPrivateDataManagerPtr& CFiPluginBase::privateDataManager() const {
  return m_privateDataManager;
}

const CFiSessionManagerPtr& CFiPluginBase::sessionManager() const { return m_sessionManager; }

CFiPrivateDataPtr CFiPluginBase::findPrivateData(pyx_domain* domain) const {
  if (domain == nullptr || !m_privateDataManager) return CFiPrivateDataPtr();
  return m_privateDataManager->find(domain);
}

CFiPrivateDataPtr CFiPluginBase::findOrCreatePrivateData(pyx_domain* domain, int altNode) const {
  if (domain == nullptr || !m_privateDataManager) return CFiPrivateDataPtr();
  return m_privateDataManager->findOrCreate(domain, altNode);
}

CFiConfigParamInfoList& CFiPluginBase::firstConfigInfoList(int index) {
  return m_firstInfoLists[index];
}

CFiConfigParamInfoList& CFiPluginBase::secondConfigInfoList(int index) {
  return m_secondInfoLists[index];
}

}  // namespace orca_pdk_4_4

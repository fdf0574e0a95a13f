#include "cfipluginbase.h"
#include "cfiscope.h"
#include "cfistringtool.h"

namespace orca_pdk_4_4 {

namespace {

enum EConfigMode { kGet = 1, kSet = 2, kClear = 3, kGetParam = 4, kSetToo = 5 };

const char* textOf(const pyx_confspec* spec) {
  return spec != nullptr && spec->text != nullptr ? spec->text : "";
}

bool isFirstOfItsMembers(const pyx_domain& domain) {
  return domain.members != nullptr && domain.member_count > 0 && domain.members[0] == &domain;
}

// A copy of a list's document; null for a list without entries.
template <typename List>
char* copyUnlessEmpty(const List* list) {
  if (list == nullptr || list->params.empty()) return nullptr;
  return CFiStringTool::tstrdup(list->getXML());
}

// Gives a node without values the defaults of its descriptions.
char* storeDefaults(CFiPrivateData& data, int index) {
  const CFiConfigParamInfoList* descriptions = data.configInfoList(index);
  if (descriptions == nullptr || descriptions->params.empty()) return nullptr;
  const CFiConfigParamDataList defaults = descriptions->getDefaultDataList();
  CFiConfigParamDataList* values = data.configDataList(index);
  if (values == nullptr) return nullptr;
  *values = defaults;
  return CFiStringTool::tstrdup(values->getXML());
}

void clearValues(CFiPrivateData& data, int index) {
  if (!data.hasConfigDataList(index)) return;
  if (CFiConfigParamDataList* values = data.configDataList(index)) values->params.clear();
}

}  // namespace

int CFiPluginBase::config(pyx_domain* domain, int mode, char* sessionId, pyx_confspec* spec) {
  const OperationScope scope(*this, kPluginBaseSource);
  const CFiPrivateDataPtr data = findPrivateData(domain);
  if (!data) return FI_INVALID;
  traceLine(FI_TRACE_INFO, " config str %s \n", textOf(spec));
  data->setSessionId(sessionId);
  if (spec == nullptr) return FI_INVALID;
  if (spec->first == 0 && spec->second == 0) {
    spec->text = nullptr;
    return FI_OK;
  }
  const int index = spec->first == 0 ? 0 : 1;
  switch (mode) {
    case kGet:
      return configGet(*data, index, *spec);
    case kSet:
    case kSetToo:
      return configSet(*data, index, *spec);
    case kClear:
      clearValues(*data, index);
      return FI_OK;
    case kGetParam:
      return configGetParam(*data, index, isFirstOfItsMembers(*domain), *spec);
    default:
      return FI_OK;
  }
}

int CFiPluginBase::configGet(CFiPrivateData& data, int index, pyx_confspec& spec) {
  if (data.hasConfigDataList(index)) {
    spec.text = copyUnlessEmpty(data.configDataList(index));
  } else if (data.hasConfigInfoList(index)) {
    spec.text = storeDefaults(data, index);
  } else {
    const tstr xml = m_firstInfoLists[index].getDefaultDataList().getXML();
    spec.text = xml.is_empty() ? nullptr : CFiStringTool::tstrdup(xml);
  }
  traceLine(FI_TRACE_ERROR, "GET: Mode[%d]: %s \n", index, textOf(&spec));
  return FI_OK;
}

int CFiPluginBase::configSet(CFiPrivateData& data, int index, pyx_confspec& spec) {
  if (spec.text == nullptr) {
    traceLine(FI_TRACE_ERROR, "ERROR: SET: Mode[%d], Invalid config string.\n", index);
    return FI_OK;
  }
  CFiConfigParamDataList* values = data.configDataList(index);
  const int result = values != nullptr ? values->parse(spec.text) : FI_INVALID;
  if (result != FI_OK) {
    traceLine(FI_TRACE_ERROR, "ERROR: SET: Mode[%d]: Invalid XML [%s] \n", index, spec.text);
    spec.text = nullptr;
    return result;
  }
  data.addDefaultConfigParamsToDataList(
      index, data.hasConfigInfoList(index) ? nullptr : &m_firstInfoLists[index]);
  // A class that denies its list has replaced it meanwhile.
  values = data.configDataList(index);
  spec.text = values != nullptr ? CFiStringTool::tstrdup(values->getXML()) : nullptr;
  return FI_OK;
}

int CFiPluginBase::configGetParam(CFiPrivateData& data, int index, bool primary,
                                  pyx_confspec& spec) {
  spec.text = nullptr;
  if (data.hasConfigInfoList(index)) spec.text = copyUnlessEmpty(data.configInfoList(index));
  if (spec.text == nullptr) spec.text = copyUnlessEmpty(globalConfigInfoList(index, primary));
  traceLine(FI_TRACE_INFO, "GETPARAM: Mode[%d]: %s \n", index, textOf(&spec));
  return FI_OK;
}

}  // namespace orca_pdk_4_4

#include "cficonfighandler.h"
#include "documents/value_list_suite.h"

namespace orca_tests {

struct ConfigValues {
  using List = orca_pdk_4_4::CFiConfigParamDataList;
  using Handler = orca_pdk_4_4::CFiConfigParamDataListHandler;
  static constexpr const char* kList = "ConfigValueList";
  static constexpr const char* kEntry = "ConfigValue";
  static auto& entries(List& list) { return list.params; }
};

INSTANTIATE_TYPED_TEST_SUITE_P(ConfigValues, ValueList, ConfigValues);

}  // namespace orca_tests

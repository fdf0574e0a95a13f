#include "cfiformatoptionhandler.h"
#include "documents/value_list_suite.h"

namespace orca_tests {

struct FormatOptions {
  using List = orca_pdk_4_4::CFiFormatOptionList;
  using Handler = orca_pdk_4_4::CFiFormatOptionListHandler;
  static constexpr const char* kList = "FormatOptionValueList";
  static constexpr const char* kEntry = "FormatOptionValue";
  static auto& entries(List& list) { return list.options; }
};

INSTANTIATE_TYPED_TEST_SUITE_P(FormatOptions, ValueList, FormatOptions);

}  // namespace orca_tests

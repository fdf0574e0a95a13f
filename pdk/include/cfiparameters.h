#ifndef ORCA_PDK_CFIPARAMETERS_H
#define ORCA_PDK_CFIPARAMETERS_H

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "cficonfig.h"
#include "cfiexport.h"
#include "cfifailure.h"

namespace orca_pdk_4_4 {

// A value that a user may not choose.
struct ORCA_PDK_API SFiParameterFault {
  std::string key;
  std::string value;       // as it was given; several with ", " between them
  std::string allowed;     // "1-64", "true, false", "a number", "one value", the choices; the
                           // keys that there are for an unknown one
  bool isUnknown = false;  // no description has this key
};

// What a description says about one value: nothing when it is allowed. An integer lies within the
// range, a boolean is "true" or "false", a text is one of the choices where there are any; only the
// list types take several values. Whether the user may set the parameter is not looked at.
ORCA_PDK_API std::optional<SFiParameterFault> checkParameter(const CFiConfigParamInfo& info,
                                                             const CFiConfigParamData& data);

// What a description allows, as the fault of a value that is not allowed says it; empty for a text
// without choices.
ORCA_PDK_API std::string allowedValues(const CFiConfigParamInfo& info);

// The failure that tells of a fault, under SFiHelperMessages::badValue or unknownParameter.
ORCA_PDK_API SFiFailure refused(const SFiParameterFault& fault);

// The parameters of a provider, described once: for the user, for checks and for reading.
//
//   const CFiParameters kParameters = CFiParameters()
//       .addNumber("keep", "MY_KEEP", 8, 1, 64)
//       .addFlag("verify", "MY_VERIFY", false);
//
// Descriptions are of parameters that the user chooses for each node. Threads: once it is filled,
// any number may read.
class ORCA_PDK_API CFiParameters {
 public:
  CFiParameters();
  CFiParameters(const CFiParameters&);
  CFiParameters& operator=(const CFiParameters&);
  ~CFiParameters();

  CFiParameters& addText(const std::string& key, const std::string& messageId,
                         const std::string& defaultValue = std::string());
  // A whole number from min to max.
  CFiParameters& addNumber(const std::string& key, const std::string& messageId,
                           int32_t defaultValue, int32_t min, int32_t max);
  CFiParameters& addFlag(const std::string& key, const std::string& messageId, bool defaultValue);
  // One of several texts.
  CFiParameters& addChoice(const std::string& key, const std::string& messageId,
                           const std::string& defaultValue, std::vector<std::string> choices);
  // Any other description, under its own key.
  CFiParameters& add(const CFiConfigParamInfo& info);

  // Adds the descriptions to a list and brings its document in step.
  void describe(CFiConfigParamInfoList& list) const;

  // The first value of a list that is not allowed; nothing when all are.
  std::optional<SFiParameterFault> check(const CFiConfigParamDataList& values) const;
  // Throws that value's failure.
  void requireAllowed(const CFiConfigParamDataList& values) const;

  // The value of a parameter in a list, its default where the list has none. Throw
  // std::invalid_argument for a key that is not described and for a value that check() refuses.
  std::string text(const CFiConfigParamDataList& values, const std::string& key) const;
  long number(const CFiConfigParamDataList& values, const std::string& key) const;
  bool flag(const CFiConfigParamDataList& values, const std::string& key) const;

 private:
  std::optional<SFiParameterFault> checkOne(const std::string& key,
                                            const CFiConfigParamData& data) const;

  std::map<std::string, CFiConfigParamInfo> m_infos;
};

}  // namespace orca_pdk_4_4

#endif

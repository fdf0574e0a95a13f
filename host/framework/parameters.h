#ifndef FIHOST_FRAMEWORK_PARAMETERS_H
#define FIHOST_FRAMEWORK_PARAMETERS_H

#include <cficonfig.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "framework/caller.h"

namespace fihost {

using Descriptions = std::map<std::string, orca_pdk::CFiConfigParamInfo>;

// The words for a parameter's type and for its use.
const char* dataTypeName(int32_t type);
const char* usageName(int32_t usage);

// Why values do not fit the descriptions of a node, a sentence each: a key that none describes, a
// value of another type, or one that is not allowed.
std::vector<std::string> misfits(const orca_pdk::CFiConfigParamDataList& values,
                                 const Descriptions& descriptions);

// Reads the document of parameters of a node; a failure of the caller's last step where it cannot
// be read. An empty document holds no descriptions.
bool readDescriptions(Caller& caller, const std::string& document, Descriptions& descriptions);

// The values to send: those of a file (may be empty) and over them single settings; a key that is
// set more than once gets a list of values. Throws a Problem for a file that is unreadable or holds
// no ConfigValueList.
orca_pdk::CFiConfigParamDataList wantedValues(
    const std::string& file, const std::vector<std::pair<std::string, std::string>>& settings);

}  // namespace fihost

#endif

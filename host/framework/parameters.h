#ifndef FIHOST_FRAMEWORK_PARAMETERS_H
#define FIHOST_FRAMEWORK_PARAMETERS_H

#include <cficonfig.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "cli/report.h"
#include "framework/caller.h"

namespace fihost {

using Descriptions = std::map<std::string, orca_pdk::CFiConfigParamInfo>;

// Reads the document of parameters of a node; a failure of the caller's last step where it cannot
// be read. An empty document holds no descriptions.
bool readDescriptions(Caller& caller, const std::string& document, Descriptions& descriptions);

// Prints descriptions as a table, with the names that the provider's catalog has for them, and adds
// them to the report's document.
void showDescriptions(Caller& caller, Report& report, const Descriptions& descriptions);

// The values to send: those of a file (may be empty) and over them single settings; a key that is
// set more than once gets a list of values. Throws a Problem for a file that is unreadable or holds
// no ConfigValueList.
orca_pdk::CFiConfigParamDataList wantedValues(
    const std::string& file, const std::vector<std::pair<std::string, std::string>>& settings);

}  // namespace fihost

#endif

#ifndef FIHOST_FRAMEWORK_PARAMETERS_H
#define FIHOST_FRAMEWORK_PARAMETERS_H

#include <cficonfig.h>

#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "framework/driver.h"
#include "framework/records.h"

namespace fihost {

using Descriptions = std::map<std::string, orca_pdk::CFiConfigParamInfo>;

// Asks for the snapshot parameters of a node (config, GETPARAM). The document is empty when the
// provider has none. False after a failure.
bool getParameters(Driver& driver, Node& node, std::string& sessionId, std::string& document);

// Reads such a document; a failure of the driver's last call where it cannot be read. An empty
// document holds no descriptions.
bool readDescriptions(Driver& driver, const std::string& document, Descriptions& descriptions);

// Prints descriptions as a table, with the names that the provider's catalog has for them, and adds
// them to the report's document.
void showDescriptions(Driver& driver, const Descriptions& descriptions);

// The values to send: those of a file (may be empty) and over them single settings; a key that is
// set more than once gets a list of values. Throws a Problem for a file that is unreadable or holds
// no ConfigValueList.
orca_pdk::CFiConfigParamDataList wantedValues(
    const std::string& file, const std::vector<std::pair<std::string, std::string>>& settings);

// Sends values (config, SET); `completed` receives the document with the defaults in it. False
// after a failure.
bool setParameters(Driver& driver, Node& node, std::string& sessionId,
                   const orca_pdk::CFiConfigParamDataList& values, std::string& completed);

}  // namespace fihost

#endif

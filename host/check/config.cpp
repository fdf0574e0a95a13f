#include <cfiparameters.h>

#include <algorithm>
#include <functional>

#include "check/bench.h"
#include "check/owntext.h"
#include "check/values.h"
#include "framework/operations.h"

namespace fihost::check {

namespace {

using orca_pdk::CFiConfigParamInfo;

// A document to be sent, and what is in it.
struct Attempt {
  std::string what;
  std::string document;
};
using Attempts = std::vector<Attempt>;

Attempt settingOf(const std::string& key, const std::string& value) {
  return {key + " = \"" + value + "\"", documentOf({{key, value}})};
}

bool isInt(const CFiConfigParamInfo& info) {
  return info.dataType == orca_pdk::FI_DATATYPE_INT ||
         info.dataType == orca_pdk::FI_DATATYPE_INT_LIST;
}

bool isBoolean(const CFiConfigParamInfo& info) {
  return info.dataType == orca_pdk::FI_DATATYPE_BOOLEAN ||
         info.dataType == orca_pdk::FI_DATATYPE_BOOLEAN_LIST;
}

bool hasRange(const CFiConfigParamInfo& info) {
  return isInt(info) && (info.rangeMin != -1 || info.rangeMax != -1);
}

// The attempts for each parameter that may be set.
Attempts forEach(const Descriptions& descriptions,
                 const std::function<std::vector<std::string>(const CFiConfigParamInfo&)>& values) {
  Attempts attempts;
  for (const auto& [key, info] : descriptions) {
    if (info.usageType == orca_pdk::FI_USAGE_NO_MODIFY) continue;
    for (const std::string& value : values(info)) attempts.push_back(settingOf(key, value));
  }
  return attempts;
}

Attempts defaults(const Descriptions& descriptions) {
  return forEach(descriptions, [](const CFiConfigParamInfo& info) -> std::vector<std::string> {
    if (info.defaultValue.empty()) return {};
    return {info.defaultValue};
  });
}

Attempts atBounds(const Descriptions& descriptions) {
  return forEach(descriptions, [](const CFiConfigParamInfo& info) -> std::vector<std::string> {
    if (!hasRange(info)) return {};
    return {std::to_string(info.rangeMin), std::to_string(info.rangeMax)};
  });
}

Attempts pastBounds(const Descriptions& descriptions) {
  return forEach(descriptions, [](const CFiConfigParamInfo& info) -> std::vector<std::string> {
    if (!hasRange(info)) return {};
    return {std::to_string(long{info.rangeMin} - 1), std::to_string(long{info.rangeMax} + 1)};
  });
}

Attempts choices(const Descriptions& descriptions) {
  return forEach(descriptions, [](const CFiConfigParamInfo& info) { return info.selectionList; });
}

Attempts otherChoices(const Descriptions& descriptions) {
  return forEach(descriptions, [](const CFiConfigParamInfo& info) -> std::vector<std::string> {
    if (info.selectionList.empty()) return {};
    return {info.selectionList.front() + "-other"};
  });
}

Attempts wrongTypes(const Descriptions& descriptions) {
  return forEach(descriptions, [](const CFiConfigParamInfo& info) -> std::vector<std::string> {
    if (isInt(info)) return {"seven", "3x"};
    if (isBoolean(info)) return {"maybe"};
    return {};
  });
}

Attempts unknownNames(const Descriptions&) { return {settingOf("fihost_check_unknown", "1")}; }

Attempts malformed(const Descriptions& descriptions) {
  const std::string whole = documentOf({{descriptions.begin()->first, "1"}});
  return {{"half a document", whole.substr(0, whole.size() / 2)},
          {"a text that is no document", "fihost check"}};
}

// All that must be refused.
Attempts refusable(const Descriptions& descriptions) {
  Attempts all;
  for (const auto list : {pastBounds, otherChoices, wrongTypes, unknownNames, malformed}) {
    for (Attempt& attempt : list(descriptions)) all.push_back(std::move(attempt));
  }
  return all;
}

// True when the node took the values.
bool takes(Life& life, const Attempt& attempt) {
  std::string completed;
  const bool good =
      ops::configSet(life.caller(), life.node(), life.session(), attempt.document, completed);
  require(life.caller().last().exception.empty(), life.failure());
  return good;
}

void givesADocument(Bench& bench) {
  Life life(bench);
  life.begin();
  std::string document;
  Descriptions descriptions;
  life.must(ops::configGetParam(life.caller(), life.node(), life.session(), document));
  require(readDescriptions(life.caller(), document, descriptions), life.failure());
}

// Looks at each description; what is wrong with one is returned.
void eachIsRight(Bench& bench, std::string (*look)(const CFiConfigParamInfo&)) {
  Life life(bench);
  life.begin();
  for (const auto& [key, info] : descriptionsOf(life)) {
    const std::string wrong = look(info);
    require(wrong.empty(), std::string("parameter ").append(key).append(wrong));
  }
}

void haveTypes(Bench& bench) {
  eachIsRight(bench, [](const CFiConfigParamInfo& info) -> std::string {
    const bool isKnown = info.dataType >= 0 && info.dataType < orca_pdk::FI_DATATYPE_UNKNOWN;
    return isKnown ? "" : " has no known type";
  });
}

void haveUsages(Bench& bench) {
  eachIsRight(bench, [](const CFiConfigParamInfo& info) -> std::string {
    const bool isKnown = info.usageType >= 0 && info.usageType < orca_pdk::FI_USAGE_UNKNOWN;
    return isKnown ? "" : " has no known usage";
  });
}

void haveFittingDefaults(Bench& bench) {
  eachIsRight(bench, [](const CFiConfigParamInfo& info) -> std::string {
    orca_pdk::CFiConfigParamData standard;
    standard.value = info.defaultValue;
    const auto fault = orca_pdk::checkParameter(info, standard);
    if (info.defaultValue.empty() || !fault) return "";
    return " has the default \"" + fault->value + "\"; allowed: " + fault->allowed;
  });
}

void haveLabels(Bench& bench) {
  Life life(bench);
  life.begin();
  const Descriptions descriptions = descriptionsOf(life);
  const std::string provider = life.plugin().name();
  for (const std::string& language : bench.languages(provider)) {
    for (const auto& [key, info] : descriptions) {
      const std::string text = ops::catalogText(life.caller(), info.messageId, language);
      const bool isThere = !info.messageId.empty() && !text.empty() && text != info.messageId &&
                           text.find("<" + info.messageId + ">") == std::string::npos &&
                           hasOwnText(provider, language, info.messageId);
      std::string sentence = "parameter " + key;
      sentence.append(" has no text for \"").append(info.messageId);
      require(isThere, sentence.append("\" in the language ").append(language));
    }
  }
}

void takesAll(Bench& bench, Attempts (*list)(const Descriptions&), const char* whyNone) {
  Life life(bench);
  life.begin();
  const Attempts attempts = list(descriptionsOf(life));
  if (attempts.empty()) throw Skipped{whyNone};
  for (const Attempt& attempt : attempts) {
    life.must(takes(life, attempt), attempt.what + " was refused: ");
  }
}

void takesNone(Bench& bench, Attempts (*list)(const Descriptions&), const char* whyNone) {
  Life life(bench);
  life.begin();
  const Attempts attempts = list(descriptionsOf(life));
  if (attempts.empty()) throw Skipped{whyNone};
  for (const Attempt& attempt : attempts) {
    require(!takes(life, attempt), attempt.what + " was taken");
  }
}

void takesDefaults(Bench& bench) { takesAll(bench, defaults, "no parameter has a default"); }
void takesBounds(Bench& bench) { takesAll(bench, atBounds, "no parameter has a range"); }
void takesNothingPast(Bench& bench) { takesNone(bench, pastBounds, "no parameter has a range"); }
void takesChoices(Bench& bench) { takesAll(bench, choices, "no parameter has choices"); }
void takesNoOther(Bench& bench) { takesNone(bench, otherChoices, "no parameter has choices"); }
void takesNoOtherType(Bench& bench) {
  takesNone(bench, wrongTypes, "no parameter is a number or a boolean");
}
void takesNothingUnknown(Bench& bench) { takesNone(bench, unknownNames, ""); }
void takesNothingMalformed(Bench& bench) { takesNone(bench, malformed, ""); }

void saysWhy(Bench& bench) {
  Life life(bench);
  life.begin();
  for (const Attempt& attempt : refusable(descriptionsOf(life))) {
    if (takes(life, attempt)) continue;
    require(!life.message().empty(), attempt.what + " was refused without a message");
  }
}

void keepsTheValues(Bench& bench) {
  Life life(bench);
  life.begin();
  const Descriptions descriptions = descriptionsOf(life);
  const Setting kept = anotherValue(descriptions);
  life.orSkip(takes(life, settingOf(kept.first, kept.second)), kept.first + " cannot be set");
  std::string before = valuesOf(life, life.node());
  for (const Attempt& attempt : refusable(descriptions)) {
    const bool isTaken = takes(life, attempt);
    const std::string now = valuesOf(life, life.node());
    require(isTaken || now == before,
            attempt.what + " was refused, and the values are no longer those from before");
    before = now;
  }
}

void bringsBack(Bench& bench) {
  Life life(bench);
  life.begin();
  const std::string value = "  a \"b\" 'c' <&> ]]> \u00e4 \u6f22\u5b57 \U0001F4BE ";
  for (const auto& [key, info] : descriptionsOf(life)) {
    if (info.dataType != orca_pdk::FI_DATATYPE_STRING || !info.selectionList.empty() ||
        info.usageType == orca_pdk::FI_USAGE_NO_MODIFY || !takes(life, settingOf(key, value))) {
      continue;
    }
    const std::string now = valueOf(valuesOf(life, life.node()), key);
    std::string sentence = key + " was set to [";
    sentence.append(value).append("] and is [").append(now).append("]");
    require(now == value, sentence);
    return;
  }
  throw Skipped{"no parameter takes any text"};
}

void clears(Bench& bench) {
  Life life(bench);
  life.begin();
  const Setting set = anotherValue(descriptionsOf(life));
  life.orSkip(takes(life, settingOf(set.first, set.second)), set.first + " cannot be set");
  life.must(ops::configClear(life.caller(), life.node(), life.session()));
  require(valueOf(valuesOf(life, life.node()), set.first) != set.second,
          set.first + " is still \"" + set.second + "\" after CLEAR");
}

constexpr Requirement kConfigRequirements[] = {
    {"config.document", "GETPARAM gives a document of parameters, or none.",
     "The framework shows nothing of what it cannot read.", givesADocument},
    {"config.types", "Every parameter has a known type.",
     "Without one no value can be checked or entered.", haveTypes},
    {"config.usages", "Every parameter has a known usage.", "It says whether the user may set it.",
     haveUsages},
    {"config.defaults", "Every default lies in its range or among its choices.",
     "The user sees a value that he could not enter.", haveFittingDefaults},
    {"config.labels", "Every parameter has a text of its own in every language of the catalog.",
     "The user would see an id, or another language.", haveLabels},
    {"config.take_defaults", "Every default is accepted.",
     "Whoever changes nothing must be able to go on.", takesDefaults},
    {"config.take_bounds", "Both bounds of a range are accepted.", "The description is a promise.",
     takesBounds},
    {"config.past_bounds", "The values next to the bounds of a range are refused.",
     "A framework that does not check would set what nobody has thought of.", takesNothingPast},
    {"config.take_choices", "Every choice is accepted.", "The description is a promise.",
     takesChoices},
    {"config.other_choices", "What is none of the choices is refused.",
     "A slip would be found out when the snapshot is taken, or never.", takesNoOther},
    {"config.wrong_type", "A text is refused where a number or a boolean belongs.",
     "It would count as 0 or false.", takesNoOtherType},
    {"config.unknown", "A parameter that is not described is refused.",
     "A slip in the name would leave the default in force.", takesNothingUnknown},
    {"config.malformed", "A document that cannot be read is refused.",
     "Half of the values would be the defaults.", takesNothingMalformed},
    {"config.messages", "What is refused is refused with a message.",
     "The user must learn what to mend.", saysWhy},
    {"config.values_stay", "After a refusal GET gives the values from before.",
     "A job that goes on would run with other settings than those shown.", keepsTheValues},
    {"config.any_text", "SET and GET bring back blanks, quotes, \"<&>\" and other scripts.",
     "Paths and names have them.", bringsBack},
    {"config.clear", "After CLEAR a value is no longer set.",
     "The next job of the node would inherit it.", clears},
};

}  // namespace

Requirements configRequirements() { return kConfigRequirements; }

}  // namespace fihost::check

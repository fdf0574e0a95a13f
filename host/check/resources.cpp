#include <algorithm>
#include <filesystem>

#include "check/bench.h"
#include "check/imports.h"
#include "framework/installroot.h"
#include "framework/operations.h"
#include "framework/overrides.h"

namespace fihost::check {

namespace fs = std::filesystem;

namespace {

constexpr char kHost[] = "fihost-check";

bool hasOwn(const orca_pdk::CFiPluginBase& provider, const std::string& operation) {
  const Overrides overrides = overriddenOperations(provider);
  for (const auto* names : {&overrides.own, &overrides.inherited}) {
    if (std::find(names->begin(), names->end(), operation) != names->end()) return true;
  }
  return false;
}

void importsAgain(Bench& bench) {
  Life life(bench, {});
  Imports imports(bench, life);
  life.must(imports.import());
  const bool good = imports.import();
  const std::string failure = life.failure();
  imports.deport();
  require(good, failure);
}

void deportsAgain(Bench& bench) {
  Life life(bench, {});
  Imports imports(bench, life);
  life.must(imports.import());
  life.must(imports.deport());
  life.must(imports.deport());
}

void givesNumbersBack(Bench& bench) {
  Life life(bench, {});
  Imports imports(bench, life);
  const std::set<std::string> before = lunNumbers();
  life.must(imports.import());
  life.must(imports.deport());
  for (const std::string& number : lunNumbers()) {
    require(before.count(number) != 0, number + " is still there after deportResource");
  }
}

constexpr Requirement kResourcesRequirements[] = {
    {"resources.import_again", "What is imported can be imported again.",
     "A job that was ended in the middle tries once more.", importsAgain},
    {"resources.deport_again", "What is deported can be deported again.",
     "A job that was ended in the middle tries once more.", deportsAgain},
    {"resources.numbers", "deportResource gives the LUN number back.",
     "There are 256 of them for an enclosure.", givesNumbersBack},
};

}  // namespace

Imports::Imports(const Bench& bench, Life& life) : m_life(life), m_resource(bench.node()) {
  const std::string marker = "<" + life.plugin().name() + ">";
  if (m_resource.starts_with(marker)) m_resource.erase(0, marker.size());
  if (!hasOwn(life.plugin().provider(), "importResource")) {
    throw Skipped{"the provider has no importResource of its own"};
  }
  life.init();
}

bool Imports::import() {
  std::string path;
  return ops::importResource(m_life.caller(), m_resource, kHost, orca_pdk::FI_IMPORT_READ_WRITE,
                             path);
}

bool Imports::deport() {
  return ops::deportResource(m_life.caller(), m_resource, kHost, orca_pdk::FI_DEPORT);
}

std::set<std::string> lunNumbers() {
  std::set<std::string> files;
  std::error_code ignored;
  const fs::path folder = fs::path(installRoot()) / "lib/orca/cachefiles/luns";
  for (const auto& entry : fs::recursive_directory_iterator(folder, ignored)) {
    if (entry.is_regular_file()) files.insert(entry.path().string());
  }
  return files;
}

Requirements resourcesRequirements() { return kResourcesRequirements; }

}  // namespace fihost::check

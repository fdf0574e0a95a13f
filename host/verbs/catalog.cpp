#include "catalog/faults.h"
#include "cli/text.h"
#include "cli/verb.h"

namespace fihost {

namespace {

class Catalog : public Verb {
 public:
  const char* name() const override { return "catalog"; }
  const char* help() const override { return "Check the sources of a message catalog"; }

  void declare(VerbOptions& options) override {
    options.names("FILE", "Sources of all languages: root.txt, de.txt ...", 1, -1, m_files);
  }
  bool showsOperations() const override { return false; }

  void run(Context& context) override {
    std::vector<catalog::Fault> faults;
    std::vector<catalog::Source> sources;
    for (const std::string& file : m_files) sources.push_back(catalog::readSource(file, faults));
    // What could not be read whole would be called incomplete.
    if (faults.empty()) faults = catalog::faultsOf(sources);
    Json& rows = context.report.answer()["faults"] = Json::array();
    for (const catalog::Fault& fault : faults) {
      rows.push_back({{"file", fault.file}, {"line", fault.line}, {"sentence", fault.sentence}});
    }
    if (!faults.empty()) {
      context.report.error(kRefused, "faults in the catalog: " + std::to_string(faults.size()));
    }
  }

  std::string text(const Json& answer) const override {
    std::string text;
    for (const Json& row : rowsOf(answer, "faults")) {
      text += printable(std::string(row["file"]) + ":" + row["line"].dump() + ": " +
                        std::string(row["sentence"])) +
              "\n";
    }
    return text;
  }

 private:
  std::vector<std::string> m_files;
};

}  // namespace

std::unique_ptr<Verb> make_catalog() { return std::make_unique<Catalog>(); }

}  // namespace fihost

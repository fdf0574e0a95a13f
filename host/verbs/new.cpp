#include "cli/names.h"
#include "cli/text.h"
#include "cli/verb.h"
#include "project/writing.h"

namespace fihost {

namespace {

class New : public Verb {
 public:
  const char* name() const override { return "new"; }
  const char* help() const override { return "Write the project of a new provider"; }

  void declare(VerbOptions& options) override {
    options.flag("--array", "For a disk array that a command-line tool drives", m_isArray);
    options.text("--folder", "Folder of the project, new or empty (default: NAME)", m_folder);
    options.names("NAME", "Name of the provider", 1, 1, m_names);
  }
  bool showsOperations() const override { return false; }

  void run(Context& context) override {
    const std::string& name = m_names.front();
    const std::string fault = project::faultOf(name);
    if (!fault.empty()) {
      throw Problem{kWrongUse, "\"" + name + "\" cannot be the name of a provider: " + fault};
    }
    std::string folder = m_folder.empty() ? name : m_folder;
    while (folder.size() > 1 && folder.back() == '/') folder.pop_back();  // it may be a link
    const auto files = project::filesOf(name, m_isArray ? project::kArray : project::kProvider);
    project::writeProject(folder, files);
    Json& answer = context.report.answer();
    answer["folder"] = absoluteName(folder);
    for (const project::File& file : files) answer["files"].push_back(file.path);
  }

  std::string text(const Json& answer) const override {
    if (!answer.contains("folder")) return "";
    std::string text = "project " + printable(answer["folder"]) + "\n";
    for (const Json& file : rowsOf(answer, "files")) text += "  " + std::string(file) + "\n";
    return text + "README.md says how to build, check and drive it\n";
  }

 private:
  bool m_isArray = false;
  std::string m_folder;
  std::vector<std::string> m_names;
};

}  // namespace

std::unique_ptr<Verb> make_new() { return std::make_unique<New>(); }

}  // namespace fihost

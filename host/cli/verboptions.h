#ifndef FIHOST_CLI_VERBOPTIONS_H
#define FIHOST_CLI_VERBOPTIONS_H

#include <string>
#include <utility>
#include <vector>

namespace CLI {
class App;
}

namespace fihost {

// Declares the options of one verb. Targets are filled in when the command line is read and must
// live until then; what the user leaves out keeps its value.
class VerbOptions {
 public:
  explicit VerbOptions(CLI::App& app) : m_app(app) {}

  // --plugin, without which the verb does not go.
  void plugin(std::string& target);
  // --plugin, where the state may know it.
  void pluginOfSnapshots(std::string& target);
  // --plugin, where a session file may name it.
  void pluginOfSession(std::string& target);
  // Snapshots or resources without an option's name: `least` to `most` of them (most -1: any
  // number). No name may be empty or given twice.
  void names(const char* name, const char* help, int least, int most,
             std::vector<std::string>& target);
  // The same for nodes, NODE; those that are existing paths become absolute.
  void nodes(const char* help, int least, int most, std::vector<std::string>& target);
  void flag(const char* name, const char* help, bool& target);
  void text(const char* name, const char* help, std::string& target);
  void number(const char* name, const char* help, int& target);
  // Words, as often as wanted, and several with "," between them.
  void words(const char* name, const char* help, std::vector<std::string>& target);
  // One of several words, without an option's name.
  void choice(const char* name, const char* help, const std::vector<std::string>& words,
              std::string& target);
  // KEY=VALUE, as often as wanted.
  void keyValues(const char* name, const char* help,
                 std::vector<std::pair<std::string, std::string>>& target);

  // Looks at the names that were read and makes nodes absolute; throws a CLI::ValidationError for
  // what is not allowed.
  void check() const;

 private:
  CLI::App& m_app;
  struct Names {
    std::vector<std::string>* target;
    bool areNodes;
  };
  std::vector<Names> m_names;
};

}  // namespace fihost

#endif

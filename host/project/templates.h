#ifndef FIHOST_PROJECT_TEMPLATES_H
#define FIHOST_PROJECT_TEMPLATES_H

#include <string_view>
#include <vector>

namespace fihost::project {

// A file of host/templates as it is built into the host.
struct Template {
  std::string_view path;  // from there; its first folder says what the file is for
  std::string_view text;
};

// All of them, by path.
const std::vector<Template>& allTemplates();

}  // namespace fihost::project

#endif

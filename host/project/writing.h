#ifndef FIHOST_PROJECT_WRITING_H
#define FIHOST_PROJECT_WRITING_H

#include <string>
#include <vector>

#include "project/project.h"

namespace fihost::project {

// Writes files into a folder, which is made, or is there and empty and the caller's own. Those that
// begin with "#!" can be executed. No file that is there is written to, and no link is followed.
// Throws a Problem (kWrongUse) that names what could not be made and why; whatever was made is then
// removed again, and what of it could not be removed is named, too.
void writeProject(const std::string& folder, const std::vector<File>& files);

}  // namespace fihost::project

#endif

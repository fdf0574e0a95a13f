#ifndef FIHOST_PROJECT_PROJECT_H
#define FIHOST_PROJECT_PROJECT_H

#include <string>
#include <vector>

namespace fihost::project {

// A file of a project.
struct File {
  std::string path;  // from the project's folder
  std::string text;
};

// What a new project is about: the folders of host/templates that it takes files from, apart from
// "common".
constexpr char kProvider[] = "provider";  // copies of files
constexpr char kArray[] = "array";        // clones of a disk array, and the array

// Why a text cannot be the name of a provider; empty where it can.
std::string faultOf(const std::string& name);

// The files of a new project for a provider of that name, by path.
std::vector<File> filesOf(const std::string& name, const std::string& kind);

}  // namespace fihost::project

#endif

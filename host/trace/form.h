#ifndef FIHOST_TRACE_FORM_H
#define FIHOST_TRACE_FORM_H

#include <span>
#include <string>
#include <vector>

#include "framework/operationtable.h"

namespace fihost {

class Stage;

// A place for arguments in a line of a session file.
struct Place {
  std::string name;    // of the argument; of pairs the first ones
  std::string second;  // of pairs the second ones, which alternate with the first; else empty
  bool areNodes;       // whether they name nodes: existing paths become absolute
  bool takesRest;      // as many as there are, else one
  bool isNamed;        // given as NAME=VALUE, may be left out
  bool isWanted() const { return !takesRest && !isNamed; }
};

// How a line of a session file calls an operation.
struct Form {
  Op op;
  // The places of its arguments in order: "@node" a node, "@nodes..." nodes to the end,
  // "@sources/snapshots..." pairs of nodes, "text" anything else, "texts..." as many as there are,
  // "flags=" one with a name.
  const char* arguments;
  // Calls it with the arguments of a line.
  void (*perform)(Stage& stage);
  // Where the name is not that of the operation.
  const char* otherName = nullptr;

  // What the line begins with: the name of the operation, the mode of config in small letters.
  std::string name() const;
  std::vector<Place> places() const;
};

// All forms, in the order of the operation table. Of an operation with several forms the first is
// the one that records use.
std::span<const Form> allForms();
// The form for records; null for an operation that is no step.
const Form* formOf(Op op);

}  // namespace fihost

#endif

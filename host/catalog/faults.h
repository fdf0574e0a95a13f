#ifndef FIHOST_CATALOG_FAULTS_H
#define FIHOST_CATALOG_FAULTS_H

#include <vector>

#include "catalog/source.h"

namespace fihost::catalog {

// What is wrong with the languages of one catalog, in the order of the sources: no root, a table
// that is not named after its file, a text that root has and a language lacks or the other way
// round, other arguments than root's, a pattern that cannot be read, an apostrophe that makes an
// argument plain text.
std::vector<Fault> faultsOf(const std::vector<Source>& sources);

}  // namespace fihost::catalog

#endif

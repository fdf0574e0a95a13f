#ifndef ORCA_FIUTIL_SRC_FAULTS_H
#define ORCA_FIUTIL_SRC_FAULTS_H

#include <fiutil_faults.h>

namespace orca_fiutil {

// Numbers a call of that kind; true when it is the one that has to fail.
bool fails(orca_fault_kind kind) noexcept;

}  // namespace orca_fiutil

#endif

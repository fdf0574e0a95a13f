/*
 * Faults that the embedded default of the framework's utility library brings about on demand, for
 * hosts and tests that want to see how a provider takes them. Only the embedded default has these
 * functions; a provider never calls them.
 *
 * Threads: safe to call from several; which call gets a number is then theirs to race for.
 */
#ifndef ORCA_FIUTIL_FAULTS_H
#define ORCA_FIUTIL_FAULTS_H

#include "fiutil.h"

#ifdef __cplusplus
extern "C" {
#endif

/* What fails. */
enum orca_fault_kind {
  ORCA_FAULT_BUFFER = 0, /* orca_alloc_buf, and the output of a command: null */
  ORCA_FAULT_OBJID,      /* orca_get_objid: null */
  ORCA_FAULT_COMMAND,    /* orca_exec_cmd_in_child_context: not started, -1 */
  ORCA_FAULT_DELAY,      /* the same: started a second later */
  ORCA_FAULT_KINDS       /* how many kinds there are */
};

/*
 * From now on the calls of that kind are numbered, beginning with 1, and the one with the given
 * number fails; 0: none does. An unknown kind is ignored.
 */
ORCA_FIUTIL_API void orca_fault_set(int kind, uint64_t number);

/* How many calls of that kind were numbered; 0 for an unknown kind. */
ORCA_FIUTIL_API uint64_t orca_fault_calls(int kind);

/* Whether calls are numbered, and fail; at first they are not. */
ORCA_FIUTIL_API void orca_fault_enable(int enabled);

#ifdef __cplusplus
}
#endif

#endif

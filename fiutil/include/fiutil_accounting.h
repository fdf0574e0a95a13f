/*
 * Accounting of what the embedded default of the framework's utility library handed out, for hosts
 * and tests that want to name a leak or a free of the wrong size. Only the embedded default has
 * these functions; a provider never calls them.
 *
 * Threads: the counts are kept under a lock; calls from several threads are safe.
 */
#ifndef ORCA_FIUTIL_ACCOUNTING_H
#define ORCA_FIUTIL_ACCOUNTING_H

#include "fiutil.h"

#ifdef __cplusplus
extern "C" {
#endif

/* What is wrong with one buffer or object id. */
enum orca_finding_kind {
  ORCA_FINDING_BUFFER_LEAKED = 1, /* handed out, not given back */
  ORCA_FINDING_BUFFER_WRONG_SIZE, /* given back with another size than it was asked for */
  ORCA_FINDING_BUFFER_UNKNOWN,    /* given back, but never handed out or given back twice */
  ORCA_FINDING_OBJID_LEAKED,      /* object id handed out, not given back */
  ORCA_FINDING_OBJID_UNKNOWN /* object id given back, but never handed out or given back twice */
};

/* One finding. The name is valid during the visit only. */
typedef struct orca_finding {
  int kind;           /* an orca_finding_kind */
  const void* object; /* address of the buffer or object id */
  size_t size;        /* size asked for; for an object id the length of its name with the NUL */
  size_t given;       /* size given back where it differs, else 0 */
  const char* name;   /* name of an object id, else null */
  /* Of a leak: how many buffers and ids had been handed out before it. Of a wrong free: how many
     wrong frees there had been before it. */
  uint64_t serial;
} orca_finding;

/* Totals since the last reset. */
typedef struct orca_totals {
  uint64_t buffers_out;  /* buffers handed out */
  uint64_t buffers_back; /* buffers given back */
  uint64_t bytes_live;   /* bytes in buffers that were not given back */
  uint64_t objids_out;   /* object ids handed out */
  uint64_t objids_back;  /* object ids given back */
  uint64_t wrong_frees;  /* buffers and ids given back that should not have been, or not so */
} orca_totals;

/* Fills the totals. */
ORCA_FIUTIL_API void orca_accounting_totals(orca_totals* totals);

/*
 * Calls visit once for every wrong free seen so far and for everything that is still handed out.
 * visit must not call this library. Returns the number of findings.
 */
ORCA_FIUTIL_API size_t orca_accounting_report(void (*visit)(const orca_finding*, void*),
                                              void* context);

/*
 * The size of a buffer or object id that is handed out now, which for an object id is the length of
 * its name with the NUL. Returns 1 and fills size, which may be null; 0, and leaves size alone, for
 * an address that this library did not hand out or got back. The address is not looked into.
 */
ORCA_FIUTIL_API int orca_accounting_size(const void* object, size_t* size);

/* Forgets all findings and treats what is handed out now as given back. */
ORCA_FIUTIL_API void orca_accounting_reset(void);

#ifdef __cplusplus
}
#endif

#endif

/*
 * The interface between a host snapshot framework and its providers, in plain C: the records that
 * the framework passes to provider operations and the functions that its utility library offers.
 *
 * Ownership: every record belongs to the framework unless a function's comment says otherwise. A
 * provider reads the fields that an operation names and fills those that the operation hands back.
 * Text handed back to the framework comes from malloc (the tstrdup family); buffers come from
 * orca_alloc_buf and return through orca_free_buf with the size they were asked for.
 *
 * Threads: the functions may be called from any thread. The records carry no lock.
 */
#ifndef ORCA_FIUTIL_H
#define ORCA_FIUTIL_H

#include <stddef.h>
#include <stdint.h>

#if defined(__GNUC__)
#define ORCA_FIUTIL_API __attribute__((visibility("default")))
#else
#define ORCA_FIUTIL_API
#endif

/* The enumerations take any 32-bit value, named here or not. */
#ifdef __cplusplus
#define ORCA_ENUM32 : int32_t
#else
#define ORCA_ENUM32
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* The object identifier of a node; made by orca_get_objid, released by orca_free_objid. */
typedef struct orca_objid {
  char* name;   /* the object's name, NUL-terminated; owned by the id */
  int32_t kind; /* kind of object; the kit always makes kind 3 */
} orca_objid;

/* One text of a FIM list element; the text is a heap copy of the provider that made the list. */
typedef struct pyx_node_fim_entry {
  char* text;               /* FIM detail text or FIM name */
  struct pyx_domain* node;  /* the node that the FIM serves */
  struct pyx_domain* group; /* the node of the FIM's group; null when there is none yet */
} pyx_node_fim_entry;

/* One FIM (frozen-image method) of a node; singly linked. */
typedef struct pyx_node_fim {
  struct pyx_node_fim* next;  /* null at the end */
  pyx_node_fim_entry* detail; /* carries the FIM's detail text */
  pyx_node_fim_entry* name;   /* carries the FIM's name, the FI type that it serves */
} pyx_node_fim;

/* A node: volume, disk, LUN, file system, or a FIM group. */
typedef struct pyx_domain {
  uint32_t node_type;          /* bit mask of node types */
  uint32_t flags;              /* bit mask; 0x8 ready, 0x40 access switched off */
  orca_objid* objid;           /* the node's identifier */
  char* name;                  /* alias of objid->name, not a copy */
  orca_objid* import_objid;    /* the id that importTreeNode imports; null when there is none */
  int32_t* capability;         /* the integer that supportsFiType answers in; may be null */
  struct pyx_domain** members; /* member nodes; a primary node is its own first member */
  uint32_t member_count;       /* number of entries in members */
  pyx_node_fim* fim_list;      /* FIMs that the provider hung on the node */
  void* fim_aux;               /* set to null together with fim_list */
} pyx_domain;

/* A node that takes part in a split (the taking of a snapshot). */
typedef struct pyx_splitnode {
  pyx_domain* domain; /* the source node */
  pyx_domain* second; /* the node of the snapshot; null where there is none */
} pyx_splitnode;

/* An opaque piece of provider state that the framework keeps. */
typedef struct pyx_blob {
  uint64_t length; /* bytes in data, a terminating NUL included */
  char* data;      /* from orca_alloc_buf(length); the framework frees it */
  uint32_t kind;   /* 1: text */
} pyx_blob;

/* A host of the snapshot; singly linked. */
typedef struct pyx_host_infn {
  char* host;                 /* host name; may be null */
  struct pyx_host_infn* next; /* null at the end */
} pyx_host_infn;

/* A message in serialised form. */
typedef struct pyx_msg_info {
  char* text;    /* serialised-message text, NUL-terminated; owned by whoever handed it out */
  size_t length; /* bytes in text without the terminating NUL */
} pyx_msg_info;

/* A sub-object whose access is switched off and on; singly linked. */
typedef struct pyx_node_subobj_list {
  pyx_domain* node;                  /* the node of the sub-object; may be null */
  orca_objid* objid;                 /* the sub-object */
  void* info;                        /* the framework's own */
  struct pyx_node_subobj_list* next; /* null at the end */
} pyx_node_subobj_list;

/* A request to the config operation. */
typedef struct pyx_confspec {
  int32_t first;  /* zero: list index 0; other: list index 1 */
  int32_t second; /* only tested: nothing is done when both selectors are zero */
  char* text; /* SET: the document, the caller's; handed back: a malloc copy, the caller frees */
} pyx_confspec;

/* What a node is wanted for. 32 bits. */
enum pyx_intent ORCA_ENUM32 { PYX_INTENT_NONE = 0 };

/* How bad a message is. 32 bits. */
enum pyx_eseverity ORCA_ENUM32 {
  PYX_SEV_INFO = 1,
  PYX_SEV_WARNING = 2,
  PYX_SEV_ERROR = 3,
  PYX_SEV_DETAIL = 4
};

/* What processProviderState is asked for. 32 bits. */
enum pyx_op_providerstate ORCA_ENUM32 { PYX_OPSTATE_GET = 1 };

/* What becomes of a snapshot. 32 bits. */
enum pyx_disposition ORCA_ENUM32 { PYX_DISPOSITION_NONE = 0 };

/* Answers of the claim operation. */
enum { PYX_CLAIM_NONE = 0, PYX_CLAIM_PRIMARY = 1, PYX_CLAIM_SECONDARY = 2 };

#ifndef __cplusplus
typedef enum pyx_intent pyx_intent;
typedef enum pyx_eseverity pyx_eseverity;
typedef enum pyx_op_providerstate pyx_op_providerstate;
typedef enum pyx_disposition pyx_disposition;
#endif

/* Records that providers receive by pointer only; their layout is the framework's own. */
typedef struct pyx_accessnode pyx_accessnode;
typedef struct pyx_quiescenode pyx_quiescenode;
typedef struct pyx_attributes pyx_attributes;
typedef struct pyx_provider_list pyx_provider_list;
typedef struct pyx_node pyx_node;
typedef struct pyx_node_list pyx_node_list;
typedef struct pyx_assoc pyx_assoc;
typedef struct pyx_assoc_list pyx_assoc_list;
typedef struct pyx_group_node_list pyx_group_node_list;
typedef struct pyx_fim_list pyx_fim_list;
typedef struct pyx_pgn_node_list pyx_pgn_node_list;
typedef struct pyx_enclosure_node_list pyx_enclosure_node_list;
typedef struct pyx_host_node_list pyx_host_node_list;
typedef struct pyx_resource pyx_resource;
typedef struct pyx_bkupset pyx_bkupset;
typedef struct pyx_snapreplica_ele pyx_snapreplica_ele;
typedef struct TrieNode_ TrieNode_;

/* A buffer of size bytes, zero-filled, or null when memory is short. Size 0 gives a buffer too. */
ORCA_FIUTIL_API void* orca_alloc_buf(size_t size);

/* Gives back a buffer with the size it was asked for. Null is ignored. */
ORCA_FIUTIL_API void orca_free_buf(void* buffer, size_t size);

/*
 * A new object id for a name, or null when the name is null or memory is short. length counts the
 * terminating NUL. The caller owns the id and releases it with orca_free_objid.
 */
ORCA_FIUTIL_API orca_objid* orca_get_objid(const char* name, size_t length, int kind);

/* Releases an object id made by orca_get_objid. Null is ignored. */
ORCA_FIUTIL_API void orca_free_objid(orca_objid* id);

/* 0 when both ids denote the same object (same kind, same name), else another value. */
ORCA_FIUTIL_API int orca_objidcmp(const orca_objid* a, const orca_objid* b);

/*
 * Fills *root with the install root as a buffer that the caller returns with
 * orca_free_buf(*root, strlen(*root) + 1), or leaves it null. Returns 0, or -1 with errno ENOMEM
 * when there is one but no memory for it.
 */
ORCA_FIUTIL_API int orca_get_install_root(char** root);

/*
 * Points *text at the NUL-terminated credential text, which stays the library's own, or leaves it
 * null when there is none. Returns 0, or -1 when there is one that cannot be read.
 */
ORCA_FIUTIL_API int orca_get_credential_blob(char** text);

/*
 * Runs a command in the framework's child context and returns its exit status. *output receives
 * the captured output as a NUL-terminated buffer and *length its size, the NUL included; the
 * caller returns it with orca_free_buf(*output, *length). Without output *output is null and
 * *length 0.
 */
ORCA_FIUTIL_API int orca_exec_cmd_in_child_context(const char* command, char** output, int* length);

/* Non-zero when commands must be run through orca_exec_cmd_in_child_context. */
ORCA_FIUTIL_API int orca_is_child_context(void);

#ifdef __cplusplus
}
#endif

#endif

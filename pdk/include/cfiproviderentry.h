#ifndef ORCA_PDK_CFIPROVIDERENTRY_H
#define ORCA_PDK_CFIPROVIDERENTRY_H

#include "cfiexport.h"
#include "cfipluginbase.h"

// The binary interface that a provider is built for. A host compares it with its own before it
// calls anything of a plug-in.
#define ORCA_PROVIDER_ABI "4.4"

// Stands once in a plug-in, outside any namespace, and makes its two exported symbols:
//
//   orca_provider_abi     the text ORCA_PROVIDER_ABI, as an array of char
//   orca_provider_create  a function that returns a new provider with count 0, which the host holds
//                         in a smart pointer. What the constructor throws passes to the host.
#define ORCA_PROVIDER(ClassName)                                                      \
  extern "C" {                                                                        \
  ORCA_PDK_API extern const char orca_provider_abi[];                                 \
  const char orca_provider_abi[] = ORCA_PROVIDER_ABI;                                 \
  ORCA_PDK_API ::orca_pdk_4_4::CFiPluginBase* orca_provider_create();                 \
  ::orca_pdk_4_4::CFiPluginBase* orca_provider_create() { return new (ClassName)(); } \
  }                                                                                   \
  static_assert(true, "ends with a semicolon")

#endif

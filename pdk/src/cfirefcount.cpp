#include "cfirefcount.h"

namespace orca_pdk_4_4 {

CFiRefCount::CFiRefCount() = default;
CFiRefCount::~CFiRefCount() = default;

int CFiRefCount::increment() { return ++m_count; }

int CFiRefCount::decrement() { return --m_count; }

int CFiRefCount::getCount() const { return m_count; }

}  // namespace orca_pdk_4_4

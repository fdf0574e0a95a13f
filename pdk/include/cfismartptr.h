#ifndef ORCA_PDK_CFISMARTPTR_H
#define ORCA_PDK_CFISMARTPTR_H

#include <type_traits>
#include <utility>

#include "cfiexport.h"

namespace orca_pdk_4_4 {

// Policy of plain heap objects: each allocate() makes a new one.
template <typename T>
class ORCA_PDK_API CFiNullAllocator {
 public:
  // A new object with count 0; the caller holds it in a smart pointer.
  static T* allocate() { return new T; }
  // Called with an object that is about to be deleted.
  static void forget(T*) noexcept {}
};

// Policy of process-wide objects, the managers: there is one slot a type, shared by the library and
// all plug-ins of the process. The slot does not own: the smart pointers that hold the instance do,
// and the slot is emptied when the last of them lets go through a pointer with this policy. An
// object that is held last by another kind of pointer is taken out with setInstance(nullptr)
// before.
//
// Threads: no lock; the slots are filled while providers are set up.
template <typename T>
class ORCA_PDK_API CFiContextSingletonAllocator {
 public:
  // The instance, made when there is none. For an abstract type none is ever made: null until
  // setInstance was called.
  static T* allocate() {
    if constexpr (!std::is_abstract_v<T>) {
      if (s_instance == nullptr) s_instance = new T;
    }
    return s_instance;
  }
  // The instance, or null when there is none.
  static T* instance() noexcept { return s_instance; }
  // Puts an object into the slot; the one that was there stays with its holders. Null empties it.
  static void setInstance(T* object) noexcept { s_instance = object; }
  // Called with an object that is about to be deleted.
  static void forget(const T* object) noexcept {
    if (s_instance == object) s_instance = nullptr;
  }

 private:
  inline static T* s_instance = nullptr;
};

// A counted pointer to an object derived from CFiRefCount. The allocator policy names how the
// object was obtained; both policies release alike.
template <typename T, typename Allocator = CFiNullAllocator<T>>
class ORCA_PDK_API CFiSmartPtr {
 public:
  CFiSmartPtr() noexcept = default;
  // Takes part in holding the object; null gives an empty pointer.
  explicit CFiSmartPtr(T* object) : m_object(object) { hold(); }
  CFiSmartPtr(const CFiSmartPtr& other) : m_object(other.m_object) { hold(); }
  CFiSmartPtr(CFiSmartPtr&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}
  ~CFiSmartPtr() { release(); }

  // The new object is counted before the old one is let go, so that two pointers to one object
  // leave its count as it was.
  CFiSmartPtr& operator=(const CFiSmartPtr& other) {
    if (this != &other) {
      CFiSmartPtr copy(other);
      std::swap(m_object, copy.m_object);
    }
    return *this;
  }
  CFiSmartPtr& operator=(CFiSmartPtr&& other) noexcept {
    if (this != &other) {
      CFiSmartPtr taken(std::move(other));
      std::swap(m_object, taken.m_object);
    }
    return *this;
  }

  // Lets the object go and deletes it when no holder is left. Returns the count after the release,
  // or -1 when the pointer was empty.
  int release() {
    T* object = std::exchange(m_object, nullptr);
    if (object == nullptr) return -1;
    const int count = object->decrement();
    if (count == 0) {
      // A smart pointer made from the object while it is being destroyed must not delete it again.
      object->increment();
      Allocator::forget(object);
      delete object;
    }
    return count;
  }

  // The object, or null. Still held by this pointer.
  T* get() const noexcept { return m_object; }
  T* operator->() const noexcept { return m_object; }
  T& operator*() const noexcept { return *m_object; }
  explicit operator bool() const noexcept { return m_object != nullptr; }

 private:
  void hold() {
    if (m_object != nullptr) m_object->increment();
  }

  T* m_object = nullptr;
};

}  // namespace orca_pdk_4_4

#endif

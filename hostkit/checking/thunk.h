// From a member function of the interface to what takes the place of its slot.
#pragma once

#include <type_traits>

#include "hostkit/checking/arguments.h"
#include "hostkit/checking/virtual_table.h"
#include "hostkit/checking/visit.h"

namespace hostkit::checking {

/// No check of an operation's own.
constexpr std::nullptr_t kNone = nullptr;

/// What stands in the slot of `member`: `Call` looks at the arguments, calls `before`, the function
/// that stood there, and `after`, which gets the result before the arguments. It is called as the
/// member function that it takes the place of, so that `this` is the module's object, and no Thunk.
template <auto member, auto before, auto after>
class Thunk;

template <class Result, class Class, class... Arguments, Result (Class::*member)(Arguments...),
          auto before, auto after>
class Thunk<member, before, after> {
 public:
  static SlotChange Install(const char* name, unsigned rules) {
    m_name = name;
    m_rules = rules;
    return {SlotOf(member), AddressOf(&Thunk::Call)};
  }

  Result Call(Arguments... arguments) {
    auto& object = *reinterpret_cast<Class*>(this);
    const auto original =
        MemberAt<Result (Class::*)(Arguments...)>(OriginalFunction(&object, SlotOf(member)));
    Visit visit(m_name, m_rules);
    if (!visit.IsOfHost()) return (object.*original)(static_cast<Arguments>(arguments)...);
    Before(visit, object, arguments...);
    if constexpr (std::is_void_v<Result>) {
      (object.*original)(static_cast<Arguments>(arguments)...);
      After(visit, object, arguments...);
    } else {
      Result result = (object.*original)(static_cast<Arguments>(arguments)...);
      After(visit, object, result, arguments...);
      return result;
    }
  }

 private:
  template <class... Given>
  static void Before(Visit& visit, Class& object, Given&... given) {
    visit.Lock();
    CheckBefore(visit, object);
    (LookAt(visit, given), ...);
    if constexpr (!std::is_null_pointer_v<decltype(before)>) before(visit, object, given...);
    visit.Unlock();
  }
  template <class... Given>
  static void After(Visit& visit, Class& object, Given&... given) {
    visit.Lock();
    if constexpr (!std::is_null_pointer_v<decltype(after)>) after(visit, object, given...);
    KeepAfter(visit, object);
    visit.Unlock();
  }

  static inline const char* m_name = nullptr;
  static inline unsigned m_rules = 0;
};

/// What stands in the slot that `delete` calls: `before`, then the function that stood there. An
/// object is forgotten whoever deletes it.
template <class Class, void (*before)(Visit&, Class&)>
class DeletingThunk {
 public:
  static SlotChange Install(const char* name) {
    m_name = name;
    return {kDeletingDestructor, AddressOf(&DeletingThunk::Call)};
  }

  void Call() {
    auto& object = *reinterpret_cast<Class*>(this);
    const auto original =
        MemberAt<void (Class::*)()>(OriginalFunction(&object, kDeletingDestructor));
    Visit visit(m_name, kFree);
    visit.Lock();
    before(visit, object);
    visit.Unlock();
    (object.*original)();
  }

 private:
  static inline const char* m_name = nullptr;
};

/// A row of a class's table: the operation, its name, its rules, and its own checks.
template <auto member, auto before = kNone, auto after = kNone>
SlotChange On(const char* name, unsigned rules) {
  return Thunk<member, before, after>::Install(name, rules);
}

/// A member function of a class among others of its name.
template <class Class, class... Arguments>
using Overload = void (Class::*)(Arguments...);

/// Exchange the tables of objects that the driver has made; null is harmless.
void Watch(GADriver* driver);
void Watch(GABuffer* buffer);
void Watch(DisplayList* list);
void Watch(GATexture* texture);
void Watch(GAShaderProgram* program);

}  // namespace hostkit::checking

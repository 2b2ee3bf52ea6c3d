// Tables of virtual functions as the Itanium C++ ABI has them, which all compilers of this platform
// follow: copying one, and exchanging slots of the copy.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace hostkit::checking {

/// An entry of a table: the address of a function, or a word of the table's head.
using Word = std::uintptr_t;

/// The slot of every class of the interface that `delete` calls.
constexpr std::size_t kDeletingDestructor = 1;

/// What takes the place of a slot.
struct SlotChange {
  std::size_t slot;
  Word function;
};

/// The slot of a virtual member function. A pointer to one is two words; the first has the slot's
/// place in the table, in bytes, and a lowest bit that some processors set.
template <class Member>
std::size_t SlotOf(Member member) {
  static_assert(sizeof(Member) == 2 * sizeof(Word));
  return (std::bit_cast<std::array<Word, 2>>(member)[0] & ~Word{1}) / sizeof(Word);
}

/// The address of a member function that is not virtual.
template <class Member>
Word AddressOf(Member member) {
  return std::bit_cast<std::array<Word, 2>>(member)[0];
}

/// The member function at an address, to be called without a look into any table.
template <class Member>
Member MemberAt(Word address) {
  return std::bit_cast<Member>(std::array<Word, 2>{address, 0});
}

/// Gives `object` a copy of its table with `changes`. Objects of one class share one copy, which
/// stays as long as the process. Nothing happens to an object that has such a copy already. Of
/// classes without virtual bases, whose first word is the pointer to their table. Callers take
/// turns.
void ExchangeTable(void* object, const std::vector<SlotChange>& changes);

/// The function that stood in a slot of an object with an exchanged table.
Word OriginalFunction(const void* object, std::size_t slot);

}  // namespace hostkit::checking

// Opaque handles: a table slot, its generation and the kind of object, packed into a pointer value
// that is never dereferenced. A null, stale or foreign value finds nothing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace platform {

enum class HandleKind : std::uintptr_t {
  kContext = 1,
  kAglFormat,
  kCglFormat,
  kPbuffer,
  kWindow,
  kPort,
  kDeviceContext,
  kCoreFoundation,
};

/// Whether a handle was made for that kind of object, be it live or stale.
inline bool IsOfKind(const void* handle, HandleKind kind) {
  return (reinterpret_cast<std::uintptr_t>(handle) & 0xFF) ==
         (static_cast<std::uintptr_t>(kind) << 1 | 1);
}

/// Objects of one kind by handle. Safe from any thread; an object that one thread looked up stays
/// alive for it while another removes it.
template <typename T, HandleKind kKind>
class HandleTable {
 public:
  /// Takes a share of the object. Null when the table is full.
  void* Add(std::shared_ptr<T> object) {
    const std::lock_guard lock(m_mutex);
    std::size_t slot;
    if (m_free.empty()) {
      slot = m_slots.size();
      if (slot > kMaxSlot) return nullptr;
      m_slots.emplace_back();
    } else {
      slot = m_free.back();
      m_free.pop_back();
    }
    m_slots[slot].object = std::move(object);
    return reinterpret_cast<void*>(Encode(slot, m_slots[slot].generation));
  }

  /// The object, null for a handle that names none.
  std::shared_ptr<T> Get(const void* handle) const {
    const std::lock_guard lock(m_mutex);
    const std::size_t slot = Find(handle);
    return slot == kNone ? nullptr : m_slots[slot].object;
  }

  /// Ends a handle and returns its object, which the caller drops outside the table's lock.
  std::shared_ptr<T> Remove(const void* handle) {
    const std::lock_guard lock(m_mutex);
    const std::size_t slot = Find(handle);
    if (slot == kNone) return nullptr;
    m_slots[slot].generation++;
    m_free.push_back(slot);
    return std::exchange(m_slots[slot].object, nullptr);
  }

  std::vector<std::shared_ptr<T>> All() const {
    const std::lock_guard lock(m_mutex);
    std::vector<std::shared_ptr<T>> all;
    for (const Slot& slot : m_slots) {
      if (slot.object) all.push_back(slot.object);
    }
    return all;
  }

  int Count() const {
    const std::lock_guard lock(m_mutex);
    return static_cast<int>(m_slots.size() - m_free.size());
  }

 private:
  struct Slot {
    std::shared_ptr<T> object;
    std::uint32_t generation = 1;
  };

  // From the high bit: generation (32), slot (24), kind (7), and a 1, so that no address of an
  // aligned object is ever taken for a handle.
  static_assert(sizeof(std::uintptr_t) == 8, "handles hold 64 bits");
  static constexpr std::size_t kMaxSlot = 0xFFFFFF;
  static constexpr std::size_t kNone = ~std::size_t{0};

  static std::uintptr_t Encode(std::size_t slot, std::uint32_t generation) {
    return static_cast<std::uintptr_t>(generation) << 32 | slot << 8 |
           static_cast<std::uintptr_t>(kKind) << 1 | 1;
  }

  std::size_t Find(const void* handle) const {
    const auto value = reinterpret_cast<std::uintptr_t>(handle);
    const std::size_t slot = value >> 8 & kMaxSlot;
    if (slot >= m_slots.size() || !m_slots[slot].object) return kNone;
    return value == Encode(slot, m_slots[slot].generation) ? slot : kNone;
  }

  mutable std::mutex m_mutex;
  std::vector<Slot> m_slots;
  std::vector<std::size_t> m_free;
};

}  // namespace platform

// Corners of faces into vertices: those that agree in all are one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace hostkit {

class CornerNumbers {
 public:
  struct Corner {
    std::uint32_t place = 0;     ///< Where it is: any number below the count of places.
    std::uint32_t next = 0;      ///< The one found before at that place.
    std::uint64_t a = 0, b = 0;  ///< What else it has, in the words of the caller.
  };

  explicit CornerNumbers(std::size_t places) : m_first(places, kNone) {}

  /// The vertex of a corner; new ones are numbered from 0.
  std::uint32_t NumberOf(std::uint32_t place, std::uint64_t a, std::uint64_t b) {
    std::uint32_t at = m_first[place];
    // A place with many different corners would take for ever; the rest do without sharing.
    for (int i = 0; at != kNone && i < kMostCompared; ++i, at = m_corners[at].next) {
      if (m_corners[at].a == a && m_corners[at].b == b) return at;
    }
    m_corners.push_back({place, m_first[place], a, b});
    return m_first[place] = static_cast<std::uint32_t>(m_corners.size() - 1);
  }

  /// One a vertex.
  const std::vector<Corner>& Corners() const { return m_corners; }

  /// Begins again.
  void Clear() {
    for (const Corner& corner : m_corners) m_first[corner.place] = kNone;
    m_corners.clear();
  }

 private:
  static constexpr std::uint32_t kNone = 0xffffffff;
  static constexpr int kMostCompared = 64;

  std::vector<std::uint32_t> m_first;  ///< The corner found last at each place.
  std::vector<Corner> m_corners;
};

}  // namespace hostkit

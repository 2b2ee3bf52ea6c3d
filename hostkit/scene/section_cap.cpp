// The faces that close a solid where a plane cuts it.
#include "hostkit/scene/section_cap.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <map>
#include <unordered_map>
#include <utility>

namespace hostkit {
namespace {

using Imath::V2d;

/// Steps of the sweep below, times edges, that nobody waits longer for.
constexpr std::size_t kMostWork = 400'000'000;

/// Ends of pieces by number, joined where pieces are.
class Ends {
 public:
  explicit Ends(double weld) : m_weld(weld) {}

  int NumberOf(const V2d& at) {
    const Key key{std::llround(at.x / m_weld), std::llround(at.y / m_weld)};
    const auto [entry, isNew] = m_numbers.try_emplace(key, static_cast<int>(m_parents.size()));
    if (isNew) {
      m_parents.push_back(entry->second);
      m_balances.push_back(0);
      m_places.push_back(at);
    }
    return entry->second;
  }
  const V2d& PlaceOf(int end) const { return m_places[At(end)]; }
  void Join(int from, int to) {
    --m_balances[At(from)];
    ++m_balances[At(to)];
    m_parents[At(RootOf(from))] = RootOf(to);
  }
  int RootOf(int end) {
    while (m_parents[At(end)] != end) {
      int& parent = m_parents[At(end)];
      parent = m_parents[At(parent)];
      end = parent;
    }
    return end;
  }
  /// By end: whether the outline that has it does not close.
  std::vector<bool> FindOpen() {
    std::vector<bool> isOpen(m_parents.size());
    for (std::size_t i = 0; i < isOpen.size(); ++i) {
      if (m_balances[i] != 0) isOpen[At(RootOf(static_cast<int>(i)))] = true;
    }
    return isOpen;
  }

 private:
  using Key = std::pair<long long, long long>;
  struct Hash {
    std::size_t operator()(const Key& key) const {
      const auto a = static_cast<std::uint64_t>(key.first),
                 b = static_cast<std::uint64_t>(key.second);
      return static_cast<std::size_t>((a * 0x9E3779B97F4A7C15u) ^
                                      (b + (a >> 29)) * 0xBF58476D1CE4E5B9u);
    }
  };
  static std::size_t At(int index) { return static_cast<std::size_t>(index); }

  double m_weld;
  std::unordered_map<Key, int, Hash> m_numbers;
  std::vector<int> m_parents, m_balances;
  std::vector<V2d> m_places;
};

/// A piece with its lower end first.
struct Edge {
  V2d low, high;
  int turn;  // 1 when the piece goes upwards, -1 downwards

  double XAt(double y) const {
    if (y <= low.y) return low.x;
    if (y >= high.y) return high.x;
    return low.x + (high.x - low.x) * ((y - low.y) / (high.y - low.y));
  }
};

/// Goes upwards through the heights of all ends. Between two of them, edges are in order from left
/// to right, and what they enclose lies between pairs of them; a pair that goes on makes one
/// trapezoid.
class Sweep {
 public:
  Sweep(std::vector<Edge> edges, std::vector<Trapezoid>* trapezoids)
      : m_edges(std::move(edges)), m_trapezoids(trapezoids) {
    std::sort(m_edges.begin(), m_edges.end(),
              [](const Edge& a, const Edge& b) { return a.low.y < b.low.y; });
  }

  bool Run() {
    std::vector<double> heights;
    for (const Edge& edge : m_edges) heights.insert(heights.end(), {edge.low.y, edge.high.y});
    std::sort(heights.begin(), heights.end());
    heights.erase(std::unique(heights.begin(), heights.end()), heights.end());
    std::size_t next = 0;
    for (std::size_t i = 0; i + 1 < heights.size(); ++i) {
      const double bottom = heights[i], top = heights[i + 1];
      std::erase_if(m_active, [&](std::size_t e) { return m_edges[e].high.y <= bottom; });
      while (next < m_edges.size() && m_edges[next].low.y <= bottom) m_active.push_back(next++);
      m_work += m_active.size() + 1;
      if (!Order((bottom + top) / 2)) return false;
      FillBetween(bottom);
    }
    Close({}, heights.empty() ? 0 : heights.back());
    return true;
  }

 private:
  using Pair = std::pair<std::size_t, std::size_t>;  // edges to the left and right

  /// Puts the edges, which are nearly in order already, in order at that height. False when all
  /// together is too much to be done.
  bool Order(double height) {
    for (std::size_t i = 1; i < m_active.size() && m_work <= kMostWork; ++i) {
      const std::size_t edge = m_active[i];
      const double x = m_edges[edge].XAt(height);
      std::size_t at = i;
      for (; at > 0 && m_edges[m_active[at - 1]].XAt(height) > x; --at) {
        m_active[at] = m_active[at - 1];
      }
      m_active[at] = edge;
      m_work += i - at;
    }
    return m_work <= kMostWork;
  }

  void FillBetween(double bottom) {
    std::map<Pair, double> spans;
    int winding = 0;
    std::size_t left = 0;
    for (const std::size_t edge : m_active) {
      if (winding == 0) left = edge;
      winding += m_edges[edge].turn;
      if (winding == 0) spans.emplace(Pair(left, edge), bottom);
    }
    for (auto& [pair, begin] : spans) {
      const auto before = m_spans.find(pair);
      if (before != m_spans.end()) begin = before->second;
    }
    Close(spans, bottom);
    m_spans = std::move(spans);
  }

  /// Ends those pairs that are not among `stay`.
  void Close(const std::map<Pair, double>& stay, double top) {
    for (const auto& [pair, bottom] : m_spans) {
      if (stay.count(pair) > 0) continue;
      const Edge &left = m_edges[pair.first], &right = m_edges[pair.second];
      m_trapezoids->push_back(
          {bottom, top, left.XAt(bottom), right.XAt(bottom), left.XAt(top), right.XAt(top)});
    }
  }

  std::vector<Edge> m_edges;
  std::vector<Trapezoid>* m_trapezoids;
  std::vector<std::size_t> m_active;
  std::map<Pair, double> m_spans;  // with the height that they begin at
  std::size_t m_work = 0;
};

}  // namespace

bool FillOutlines(const std::vector<OutlinePiece>& pieces, double weld,
                  std::vector<Trapezoid>* trapezoids) {
  Ends ends(weld);
  std::vector<std::pair<int, int>> joined;
  joined.reserve(pieces.size());
  for (const OutlinePiece& piece : pieces) {
    joined.emplace_back(ends.NumberOf(piece.from), ends.NumberOf(piece.to));
    ends.Join(joined.back().first, joined.back().second);
  }
  const std::vector<bool> isOpen = ends.FindOpen();
  bool isWhole = true;
  std::vector<Edge> edges;
  for (const auto& [begin, end] : joined) {
    const V2d &from = ends.PlaceOf(begin), &to = ends.PlaceOf(end);
    if (isOpen[static_cast<std::size_t>(ends.RootOf(begin))]) {
      isWhole = false;
    } else if (from.y < to.y) {
      edges.push_back({from, to, 1});
    } else if (from.y > to.y) {
      edges.push_back({to, from, -1});
    }
  }
  return Sweep(std::move(edges), trapezoids).Run() && isWhole;
}

}  // namespace hostkit

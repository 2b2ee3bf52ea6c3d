// The values of a PLY file, one after the other.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

#include "hostkit/import/number_text.h"
#include "hostkit/import/ply/ply_header.h"

namespace hostkit {

/// Values of a binary file, in the machine's own byte order or the other.
template <bool kSwaps>
class PlyBinaryValues {
 public:
  explicit PlyBinaryValues(std::string_view bytes)
      : m_at(bytes.data()), m_end(m_at + bytes.size()) {}

  std::size_t Left() const { return static_cast<std::size_t>(m_end - m_at); }

  /// Once Next() has failed: whether the file ends there, and whether the row does.
  bool IsAtEnd() const { return true; }
  bool IsRowOver() const { return false; }

  /// The fewest bytes that a value can have.
  static std::size_t LeastBytes(PlyType type) { return SizeOf(type); }

  void GoToEnd() { m_at = m_end; }
  void BeginRow() {}
  void EndRow() {}

  /// False where the file ends.
  bool Next(PlyType type, double* value) {
    switch (type) {
      case PlyType::kInt8:
        return Take<std::int8_t>(value);
      case PlyType::kUint8:
        return Take<std::uint8_t>(value);
      case PlyType::kInt16:
        return Take<std::int16_t>(value);
      case PlyType::kUint16:
        return Take<std::uint16_t>(value);
      case PlyType::kInt32:
        return Take<std::int32_t>(value);
      case PlyType::kUint32:
        return Take<std::uint32_t>(value);
      case PlyType::kFloat32:
        return Take<float>(value);
      case PlyType::kFloat64:
        return Take<double>(value);
    }
    return false;
  }

  /// So many values in one go.
  bool NextList(PlyType type, std::size_t count, std::vector<double>& list) {
    list.resize(count);
    const bool isUsual = type == PlyType::kInt32 || type == PlyType::kUint32;
    for (std::size_t i = 0; i < count; ++i) {
      if (!isUsual && !Next(type, &list[i])) return false;
      if (type == PlyType::kInt32 && !Take<std::int32_t>(&list[i])) return false;
      if (type == PlyType::kUint32 && !Take<std::uint32_t>(&list[i])) return false;
    }
    return true;
  }

 private:
  template <class Value>
  bool Take(double* value) {
    if (Left() < sizeof(Value)) return false;
    char bytes[sizeof(Value)];
    std::memcpy(bytes, m_at, sizeof bytes);
    if constexpr (kSwaps) std::reverse(bytes, bytes + sizeof bytes);
    m_at += sizeof bytes;
    *value = static_cast<double>(std::bit_cast<Value>(bytes));
    return true;
  }

  const char* m_at;
  const char* m_end;
};

/// Values of a text file, with white space between them, a row in each line.
class PlyTextValues {
 public:
  explicit PlyTextValues(std::string_view bytes) : m_at(bytes.data()), m_end(m_at + bytes.size()) {}

  std::size_t Left() const { return static_cast<std::size_t>(m_end - m_at); }
  bool IsAtEnd() const { return m_at == m_end; }
  bool IsRowOver() const { return m_at < m_end && IsLineEnd(*m_at); }

  /// A digit and what parts it from the next.
  static std::size_t LeastBytes(PlyType) { return 2; }

  void GoToEnd() { m_at = m_end; }
  void BeginRow() { m_at = std::find_if_not(m_at, m_end, IsSpace); }
  void EndRow() { m_at = std::find_if(m_at, m_end, IsLineEnd); }

  /// False where the line ends, or where there is no number.
  bool Next(PlyType, double* value) {
    SkipBlanks(&m_at, m_end);
    return ReadNumber(&m_at, m_end, value);
  }

  bool NextList(PlyType type, std::size_t count, std::vector<double>& list) {
    list.resize(count);
    for (double& value : list) {
      if (!Next(type, &value)) return false;
    }
    return true;
  }

 private:
  static bool IsLineEnd(char c) { return c == '\n' || c == '\r'; }

  const char* m_at;
  const char* m_end;
};

}  // namespace hostkit

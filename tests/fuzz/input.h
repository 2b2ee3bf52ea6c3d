// What fuzzers share: values out of the input's bytes, requirements, and what to start from.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// Reads values from the bytes of a fuzzer's input. When they run out every value is 0, or the
/// first of its kind.
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size) : m_next(data), m_end(data + size) {}

  bool IsEmpty() const { return m_next == m_end; }
  std::uint8_t Byte() { return IsEmpty() ? std::uint8_t{0} : *m_next++; }
  bool Flag() { return (Byte() & 1) != 0; }
  /// 0 to limit - 1.
  int Below(int limit) { return Byte() % limit; }
  template <class T, std::size_t kCount>
  T OneOf(const T (&values)[kCount]) {
    return values[Byte() % kCount];
  }
  /// Mostly small, now and then at the edge of what an int holds.
  int Int();
  /// Small steps around 0. In wild inputs a quarter are values that calculations trip over: NaN,
  /// infinities, denormals, the largest and so on.
  float Float();
  /// At most `limit` bytes, of any value.
  std::string Text(std::size_t limit);
  std::string Rest() { return Text(static_cast<std::size_t>(m_end - m_next)); }

  /// In a tame input numbers stay within reason.
  bool IsTame() const { return m_tame; }
  void BeTame() { m_tame = true; }

 private:
  const std::uint8_t* m_next;
  const std::uint8_t* m_end;
  bool m_tame = false;
};

/// Ends the process, for the fuzzer to keep the input, when something does not hold.
void Require(bool holds, const std::string& what);
/// The same for a message that is not one line of text.
void RequireOneLine(const std::string& message);

/// The fuzzer, called by libFuzzer or by the replay.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

using Inputs = std::vector<std::string>;
/// What the fuzzer starts from.
Inputs Seeds();
/// Whether seeds are asked for to be fuzzed, and not for a test, which has less time.
bool AreForFuzzing();
/// Inputs that once made something fail, as hexadecimal digits.
Inputs Regressions();

// The host's string.
#include "host/String.h"

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstring>
#include <utility>

#include "host/Heaps.h"

namespace {

/// New text of `head` followed by `tail`; null when both are empty or the heap is exhausted.
char* NewText(const char* head, std::size_t headLength, const char* tail, std::size_t tailLength) {
  if (headLength + tailLength == 0) return nullptr;
  auto* text = static_cast<char*>(AllocString(headLength + tailLength + 1));
  if (!text) return nullptr;
  if (headLength) std::memcpy(text, head, headLength);
  if (tailLength) std::memcpy(text + headLength, tail, tailLength);
  text[headLength + tailLength] = '\0';
  return text;
}

/// Distance of `found` from the start of the text; -1 when not found, or too far for an int.
int IndexOf(const char* found, const char* text) {
  if (!found || found - text > INT_MAX) return -1;
  return static_cast<int>(found - text);
}

}  // namespace

String::String(const char* text)
    : m_text(text ? NewText(text, std::strlen(text), nullptr, 0) : nullptr) {}

String::String(const String& other) : String(other.m_text) {}

String::~String() {
  FreeString(m_text);
}

String& String::operator=(const String& other) {
  if (this != &other) *this = String(other);
  return *this;
}

String& String::operator=(String&& other) noexcept {
  if (this == &other) return *this;
  FreeString(m_text);
  m_text = std::exchange(other.m_text, nullptr);
  return *this;
}

String& String::operator+=(const String& tail) {
  if (tail.IsEmpty()) return *this;
  // The old text goes last: `tail` may be this very string.
  char* joined = NewText(Text(), std::strlen(Text()), tail.Text(), std::strlen(tail.Text()));
  FreeString(std::exchange(m_text, joined));
  return *this;
}

int String::Find(const String& needle) const {
  return IndexOf(std::strstr(Text(), needle.Text()), Text());
}

int String::Find(int start, char character) const {
  const std::size_t first = static_cast<std::size_t>(std::max(start, 0));
  if (character == '\0' || first >= std::strlen(Text())) return -1;
  return IndexOf(std::strchr(Text() + first, character), Text());
}

int String::ReverseFind(char character) const {
  if (character == '\0') return -1;
  return IndexOf(std::strrchr(Text(), character), Text());
}

String String::Mid(int start, int count) const {
  const auto length = static_cast<long long>(std::strlen(Text()));
  const long long first = std::max(start, 0);
  const long long end = std::min(static_cast<long long>(start) + count, length);
  String part;
  if (first < end) {
    part.m_text = NewText(Text() + first, static_cast<std::size_t>(end - first), nullptr, 0);
  }
  return part;
}

String operator+(const String& head, const String& tail) {
  String joined(head);
  // A head that could not be copied would leave the tail alone, which is neither result.
  if (joined.IsEmpty() != head.IsEmpty()) return {};
  joined += tail;
  return joined;
}

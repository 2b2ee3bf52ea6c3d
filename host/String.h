// The host's string.
#pragma once

/// One pointer to NUL-terminated text from AllocString; null is the empty string. When the string
/// heap is exhausted the result of an operation is empty.
class String {
 public:
  String() = default;
  String(const char* text);
  String(const String& other);
  String(String&& other) noexcept : m_text(other.m_text) { other.m_text = nullptr; }
  ~String();
  String& operator=(const String& other);
  String& operator=(String&& other) noexcept;
  String& operator+=(const String& tail);

  /// Index of the first occurrence of `needle`, case-sensitive, or -1. The empty string is at 0.
  int Find(const String& needle) const;
  /// Index of the first `character` at or after index `start`, or -1.
  int Find(int start, char character) const;
  /// Index of the last `character`, or -1.
  int ReverseFind(char character) const;
  /// At most `count` characters from index `start`; what lies outside the text is left out.
  String Mid(int start, int count) const;

  /// The text, never null; valid until the string changes.
  const char* Text() const { return m_text ? m_text : ""; }
  bool IsEmpty() const { return !m_text || !*m_text; }

 private:
  char* m_text = nullptr;
};
static_assert(sizeof(String) == sizeof(void*));

String operator+(const String& head, const String& tail);

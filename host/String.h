// The host's string.
#pragma once

/// One pointer to NUL-terminated text from AllocString; null is the empty string. When the string
/// heap is exhausted the result of an operation is empty. Text is bytes: positions and counts are
/// those of bytes, whatever the encoding. The name is global, and its operations are symbols that
/// the module looks for in the program: a program must have no class String of its own.
class String {
 public:
  String() = default;
  /// A copy of NUL-terminated text; null gives the empty string.
  String(const char* text);
  /// A copy.
  String(const String& other);
  /// Leaves `other` empty.
  String(String&& other) noexcept : m_text(other.m_text) { other.m_text = nullptr; }
  /// Releases the text.
  ~String();
  /// Becomes a copy.
  String& operator=(const String& other);
  /// Takes over the text of `other`.
  String& operator=(String&& other) noexcept;
  /// Appends a copy of `tail`, which may be the string itself.
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
  /// Whether there is no text.
  bool IsEmpty() const { return !m_text || !*m_text; }

 private:
  char* m_text = nullptr;
};
static_assert(sizeof(String) == sizeof(void*));

/// The two texts, one behind the other.
String operator+(const String& head, const String& tail);

// The window's texts, as its user reads them.
#pragma once

#include <QString>
#include <cstddef>
#include <string>

namespace view {

/// A text in the user's language where there is a catalogue for it, else as it is. Texts that stand
/// in calls of these functions are gathered in share/locale/gl3-view.pot, by `./dev texts`.
QString Tr(const char* text);
/// The same of a text with a number at %1, for one and for several.
QString TrCount(const char* one, const char* several, std::size_t count);
/// Marks a text of a table, which is for Tr later.
constexpr const char* TrMark(const char* text) {
  return text;
}

/// Looks for catalogues in a folder: LANGUAGE/LC_MESSAGES/gl3-view.mo. The language is that of the
/// process's locale.
void UseCatalogues(const std::string& folder);

}  // namespace view

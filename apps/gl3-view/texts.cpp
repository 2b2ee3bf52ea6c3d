// The window's texts, as its user reads them.
#include "apps/gl3-view/texts.h"

#include <libintl.h>

#include <QLocale>

namespace view {
namespace {

constexpr const char* kCatalogue = "gl3-view";

}  // namespace

QString Tr(const char* text) {
  if (text[0] == '\0') return {};  // which is what catalogues call their own heading
  return QString::fromUtf8(dgettext(kCatalogue, text));
}

QString TrCount(const char* one, const char* several, std::size_t count) {
  return QString::fromUtf8(dngettext(kCatalogue, one, several, count))
      .arg(QLocale().toString(static_cast<qulonglong>(count)));
}

void UseCatalogues(const std::string& folder) {
  bindtextdomain(kCatalogue, folder.c_str());
  bind_textdomain_codeset(kCatalogue, "UTF-8");
}

}  // namespace view

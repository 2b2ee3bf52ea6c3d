// What the entries of the panel's lists consist of.
#include <fmt/format.h>

#include <cmath>
#include <string>

#include "apps/gl3-view/entry_fields.h"
#include "apps/gl3-view/texts.h"
#include "apps/options/drawing_readers.h"
#include "apps/options/effect_options.h"

namespace view {
namespace {

// A place beyond all that can be given stands for none.
constexpr int kFarthestPlace = 100000, kNowhere = -kFarthestPlace - 1;
// A size below all that can be given stands for the usual one.
constexpr int kUsualSize = 3, kLargestSize = 256;

QString Number(double value) {
  return QString::fromStdString(fmt::format("{}", static_cast<float>(value)));
}

std::vector<EntryField> EffectFields(const QString& entry) {
  std::vector<EntryField> fields;
  hostkit::EffectCall call;
  std::string error;
  if (!gl3::ParseEffect(entry.toStdString(), &call, &error)) return fields;
  for (std::size_t i = 0; i < call.kind->keyCount; ++i) {
    const hostkit::EffectKey& key = call.kind->keys[i];
    const double value = static_cast<double>(call.*(key.value));
    fields.push_back(
        {key.name, key.meaning,
         key.isWhole ? QVariant(static_cast<int>(std::lround(value))) : QVariant(value), key.least,
         key.most, ""});
  }
  return fields;
}

/// What is as usual is not named.
QString EffectOf(const QString& entry, const std::vector<EntryField>& fields) {
  QString text = entry.section(':', 0, 0);
  QChar before = ':';
  const hostkit::EffectKind* const kind = hostkit::FindEffect(text.toStdString());
  for (std::size_t i = 0; kind && i < fields.size(); ++i) {
    const double value = fields[i].value.toDouble();
    if (static_cast<float>(value) == kind->keys[i].standard) continue;
    text += before + fields[i].name + '=' + Number(value);
    before = ',';
  }
  return text;
}

EntryField PlaceField(const char* name, int value, const char* none) {
  const int least = none[0] ? kNowhere : -kFarthestPlace;
  const QString tip = Tr("Pixels from the picture's top left");
  return {name, tip, value, static_cast<double>(least), kFarthestPlace, Tr(none)};
}

std::vector<EntryField> TextFields(const QString& entry) {
  gl3::TextOption text;
  std::string error;
  if (!gl3::ReadText(entry.toStdString(), &text, &error)) return {};
  QString color;
  if (text.color) {
    color = QString::fromStdString(
        fmt::format("#{:02x}{:02x}{:02x}", text.color->red, text.color->green, text.color->blue));
  }
  return {
      {TrMark("Text"), Tr("What is written"), QString::fromStdString(text.text), 0, 0, ""},
      PlaceField("X", text.place ? text.place->x : kNowhere, TrMark("automatic")),
      PlaceField("Y", text.place ? text.place->y : kNowhere, TrMark("automatic")),
      {TrMark("Colour"), Tr("Such as #ffaa00 or white; empty: black or white"), color, 0, 0, ""},
      {TrMark("Size"), Tr("Height of the letters in pixels"),
       text.size > 0 ? text.size : kUsualSize, kUsualSize, kLargestSize, Tr("ten pixels")}};
}

/// Whether the entry is read as one of that text.
bool IsReadAs(const QString& entry, const QString& text) {
  gl3::TextOption read;
  std::string error;
  return gl3::ReadText(entry.toStdString(), &read, &error) && read.text == text.toStdString();
}

/// A colour needs a place, as the option has it, and so does a text that ends like one or like a
/// size.
QString TextOf(const QString&, const std::vector<EntryField>& fields) {
  constexpr int kUsualPlace = 8;
  const auto place = [&](std::size_t index) {
    const int value = fields[index].value.toInt();
    return value == kNowhere ? kUsualPlace : value;
  };
  const QString color = fields[3].value.toString().trimmed();
  const QString text = fields[0].value.toString();
  const bool isPlaced = fields[1].value.toInt() != kNowhere ||
                        fields[2].value.toInt() != kNowhere || !color.isEmpty() ||
                        (!text.isEmpty() && !IsReadAs(text, text));
  QString entry = text;
  if (isPlaced) entry += QString(",%1,%2").arg(place(1)).arg(place(2));
  if (!color.isEmpty()) entry += ',' + color;
  const int size = fields[4].value.toInt();
  return size == kUsualSize ? entry : entry + QString(",%1px").arg(size);
}

std::vector<EntryField> OverlayFields(const QString& entry) {
  gl3::OverlayOption overlay;
  std::string error;
  if (!gl3::ReadOverlay(entry.toStdString(), &overlay, &error)) return {};
  return {
      {TrMark("File"), Tr("The picture"), QString::fromStdString(overlay.path), 0, 0, ""},
      PlaceField("X", overlay.x, ""),
      PlaceField("Y", overlay.y, ""),
      {TrMark("Opacity"), Tr("From 0, clear, to 1"), static_cast<double>(overlay.alpha), 0, 1, ""}};
}

QString OverlayOf(const QString&, const std::vector<EntryField>& fields) {
  return fields[0].value.toString() + QString(",%1,%2,%3")
                                          .arg(fields[1].value.toInt())
                                          .arg(fields[2].value.toInt())
                                          .arg(Number(fields[3].value.toDouble()));
}

}  // namespace

EntryKind EffectEntries() {
  return {EffectFields, EffectOf};
}

EntryKind TextEntries() {
  return {TextFields, TextOf};
}

EntryKind OverlayEntries() {
  return {OverlayFields, OverlayOf};
}

}  // namespace view

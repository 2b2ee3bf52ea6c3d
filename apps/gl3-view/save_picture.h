// The view as a picture file.
#pragma once

#include <QImage>
#include <QString>
#include <QStringList>
#include <string>

#include "apps/gl3-view/viewport.h"

namespace view {

/// What to save.
struct SaveChoice {
  QString file;
  int width = 0, height = 0;
  bool transparent = false;
  QString recipe = kNamesAlone;  ///< What the file tells, as --recipe has it.

  static constexpr const char* kNamesAlone = "names";
};

/// Asks for file, size, background and recipe. False when the user cancels, or with one line in
/// `*error` when no picture can be written there.
bool AskWhatToSave(QWidget* parent, const QString& suggestion, SaveChoice* choice,
                   std::string* error);

/// What is seen as arguments of `gl3 render`: the choices of how to draw, the camera, the moment,
/// and all of `choice` but the file.
QStringList PictureArguments(const Viewport& viewport, const QStringList& drawing,
                             const SaveChoice& choice);

/// What is seen, as it would be saved. Null with one line in `*error` on failure.
QImage DrawImage(Viewport& viewport, std::string* error);

/// Draws and writes the very picture that `gl3 render` makes of these models and arguments; the
/// file tells that command, as --recipe among them asks. False with one line in `*error`, and then
/// nothing was written.
bool SavePicture(Viewport& viewport, const QStringList& models, const QStringList& arguments,
                 const QString& file, std::string* error);

}  // namespace view

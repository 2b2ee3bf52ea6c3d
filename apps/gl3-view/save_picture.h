// The view as a picture file.
#pragma once

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
};

/// Asks for file, size and background. False when the user cancels.
bool AskWhatToSave(QWidget* parent, const QString& suggestion, SaveChoice* choice);

/// What is seen as arguments of `gl3 render`: the choices of how to draw, the camera, size and
/// background of `choice`.
QStringList PictureArguments(const Viewport& viewport, const QStringList& drawing,
                             const SaveChoice& choice);

/// Draws and writes the very picture that `gl3 render` makes of these models and arguments; the
/// file tells that command. False with one line in `*error`, and then nothing was written.
bool SavePicture(Viewport& viewport, const QStringList& models, const QStringList& arguments,
                 const QString& file, std::string* error);

}  // namespace view

// What is seen, as the options of `gl3 render`: the viewer draws from the same choices, and tells
// the command that gives the same picture.
#pragma once

#include <QStringList>
#include <string>
#include <vector>

#include "apps/options/render_options.h"

namespace view {

/// Reads options as `gl3 render` does, such as {"--mode", "flat", "--fog", "2,9"}; what they do not
/// name gets its default. Returns false with one line in `*error`, and then changes nothing.
bool ReadChoices(const QStringList& arguments, gl3::RenderOptions* options, std::string* error);

/// The options that give the eye, target, up, field of view and projection of `options`; numbers
/// read back exactly.
QStringList CameraArguments(const gl3::RenderOptions& options);

/// The options that show the moment of `options`; none for a model at rest.
QStringList TimeArguments(const gl3::SequenceOptions& options);

/// The words of the command line.
std::vector<std::string> RenderWords(const QStringList& models, const QString& output,
                                     const QStringList& arguments);
/// The same for a shell.
QString RenderCommand(const QStringList& models, const QString& output,
                      const QStringList& arguments);

}  // namespace view

// What is seen, as the options of `gl3 render`.
#include "apps/gl3-view/render_command.h"

#include <fmt/format.h>

#include <vector>

#include "apps/base/command_words.h"
#include "apps/options/option_parser.h"
#include "apps/work/render/render_camera.h"

namespace view {
namespace {

QString Triple(const Imath::V3d& v) {
  return QString::fromStdString(gl3::FormatTriple(v));
}

}  // namespace

bool ReadChoices(const QStringList& arguments, gl3::RenderOptions* options, std::string* error) {
  gl3::RenderOptions read;
  const gl3::OptionParser parser;
  gl3::AddRenderOptions(parser, &read);
  std::vector<std::string> words = {"model", "--output=view.png"};
  for (const QString& argument : arguments) words.push_back(argument.toStdString());
  if (!parser.Parse(words, error)) return false;
  const gl3::Outcome outcome = gl3::CheckRenderOptions(read);
  if (outcome.status != gl3::kDone) {
    *error = outcome.message;
    return false;
  }
  *options = read;
  return true;
}

QStringList CameraArguments(const gl3::RenderOptions& options) {
  QStringList arguments = {"--eye", Triple(*options.eye), "--target", Triple(*options.target),
                           "--up",  Triple(*options.up),  "--fov"};
  arguments << QString::fromStdString(fmt::format("{}", *options.fieldOfView));
  if (options.parallel) arguments << "--parallel";
  return arguments;
}

QStringList TimeArguments(const gl3::SequenceOptions& options) {
  if (options.frames.empty()) return {};
  QStringList arguments = {
      QString("--frames=%1").arg(options.frames.front()),
      QString::fromStdString(fmt::format("--fps={}", options.framesPerSecond))};
  if (!options.animation.empty()) {
    arguments << "--animation=" + QString::fromStdString(options.animation);
  }
  return arguments;
}

std::vector<std::string> RenderWords(const QStringList& models, const QString& output,
                                     const QStringList& arguments) {
  // A file is not to be taken for an option.
  const auto asFile = [](const QString& file) { return file.startsWith('-') ? "./" + file : file; };
  QStringList words = {"gl3", "render"};
  for (const QString& model : models) words << asFile(model);
  if (models.size() > 1) words << "--merge";
  words << "-o" << asFile(output) << arguments;
  std::vector<std::string> texts;
  for (const QString& word : words) texts.push_back(word.toStdString());
  return texts;
}

QString RenderCommand(const QStringList& models, const QString& output,
                      const QStringList& arguments) {
  return QString::fromStdString(gl3::JoinCommand(RenderWords(models, output, arguments)));
}

}  // namespace view

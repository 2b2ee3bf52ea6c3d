// Which of the panel's choices can be drawn.
#include "apps/gl3-view/choice_judge.h"

#include <string>

#include "apps/gl3-view/render_command.h"
#include "apps/work/render/frame_setup.h"

namespace view {
namespace {

/// Whether these can be drawn together; else one line about the first that cannot.
bool CanBeDrawn(const QStringList& words, QString* problem) {
  gl3::RenderOptions options;
  std::string error;
  if (!ReadChoices(words, &options, &error)) {
    *problem = QString::fromStdString(error);
    return false;
  }
  if (options.drawing.overlays.empty() && options.background.picture.empty()) return true;
  hostkit::FrameSettings settings;
  const gl3::Outcome outcome = gl3::MakeFrameSettings(options, &settings);
  *problem = QString::fromStdString(outcome.message);
  return outcome.status == gl3::kDone;
}

}  // namespace

QString ChoiceWord(const QString& option, const QString& value) {
  return value.isEmpty() ? option : option + '=' + value;
}

std::vector<ChoiceVerdict> JudgeChoices(const std::vector<ChoiceWish>& wishes) {
  std::vector<ChoiceVerdict> verdicts;
  QStringList accepted;
  QString problem;
  for (const ChoiceWish& wish : wishes) {
    accepted << ChoiceWord(wish.option, wish.value);
    verdicts.push_back({wish.value, {}});
  }
  if (CanBeDrawn(accepted, &problem)) return verdicts;
  accepted.clear();
  const auto accept = [&](const QString& word, QString* why) {
    if (!CanBeDrawn(accepted + QStringList{word}, why)) return false;
    accepted << word;
    return true;
  };
  for (std::size_t i = 0; i < wishes.size(); ++i) {
    const ChoiceWish& wish = wishes[i];
    ChoiceVerdict& verdict = verdicts[i];
    if (accept(ChoiceWord(wish.option, wish.value), &verdict.problem)) continue;
    verdict.accepted.reset();
    if (wish.before && accept(ChoiceWord(wish.option, *wish.before), &problem)) {
      verdict.accepted = wish.before;
    }
  }
  return verdicts;
}

}  // namespace view

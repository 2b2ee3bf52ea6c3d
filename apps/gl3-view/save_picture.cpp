// The view as a picture file.
#include "apps/gl3-view/save_picture.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QFormLayout>
#include <QSpinBox>
#include <algorithm>

#include "apps/gl3-view/render_command.h"
#include "apps/gl3-view/texts.h"
#include "apps/work/common/check_output.h"
#include "apps/work/render/render_camera.h"
#include "apps/work/render/render_recipe.h"
#include "hostkit/effects/byte_image.h"
#include "hostkit/pictures/picture.h"
#include "hostkit/pictures/picture_formats.h"

namespace view {
namespace {

constexpr int kMostPixelsASide = 16384;

/// What a saved file tells, and that choice as --recipe has it.
constexpr struct {
  const char *text, *name;
} kRecipes[] = {{TrMark("how it was made, without folders"), SaveChoice::kNamesAlone},
                {TrMark("how it was made, with all paths"), "full"},
                {TrMark("nothing"), "none"}};

/// Size, background and recipe; file names are asked for by the file dialog.
class SizeDialog : public QDialog {
 public:
  SizeDialog(const SaveChoice& choice, QWidget* parent) : QDialog(parent) {
    setWindowTitle(Tr("Save picture"));
    auto* const form = new QFormLayout(this);
    m_width = AddSide(form, Tr("&Width"), choice.width);
    m_height = AddSide(form, Tr("&Height"), choice.height);
    m_transparent = new QCheckBox(Tr("&Transparent background"), this);
    form->addRow(m_transparent);
    m_recipe = new QComboBox(this);
    for (const auto& [text, name] : kRecipes) m_recipe->addItem(Tr(text), name);
    m_recipe->setCurrentIndex(std::max(m_recipe->findData(choice.recipe), 0));
    form->addRow(Tr("The &file tells"), m_recipe);
    auto* const buttons =
        new QDialogButtonBox(QDialogButtonBox::Save | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    form->addRow(buttons);
  }

  void Read(SaveChoice* choice) const {
    choice->width = m_width->value();
    choice->height = m_height->value();
    choice->transparent = m_transparent->isChecked();
    choice->recipe = m_recipe->currentData().toString();
  }

 private:
  QSpinBox* AddSide(QFormLayout* form, const QString& label, int value) {
    auto* const side = new QSpinBox(this);
    side->setRange(1, kMostPixelsASide);
    side->setSuffix(' ' + Tr("pixels"));
    side->setValue(value);
    form->addRow(label, side);
    return side;
  }

  QSpinBox *m_width, *m_height;
  QCheckBox* m_transparent;
  QComboBox* m_recipe;
};

/// What the file dialog lists.
QString PictureFilter() {
  QString patterns = QString::fromStdString(hostkit::WrittenSuffixes());
  patterns.remove(',').replace('.', "*.");
  return Tr("Pictures") + " (" + patterns + ')';
}

/// The pointer shows that the program is busy.
struct WaitPointer {
  WaitPointer() { QApplication::setOverrideCursor(Qt::WaitCursor); }
  ~WaitPointer() { QApplication::restoreOverrideCursor(); }
  WaitPointer(const WaitPointer&) = delete;
  WaitPointer& operator=(const WaitPointer&) = delete;
};

}  // namespace

bool AskWhatToSave(QWidget* parent, const QString& suggestion, SaveChoice* choice,
                   std::string* error) {
  QFileDialog files(parent, Tr("Save picture"), QFileInfo(suggestion).path(), PictureFilter());
  files.setAcceptMode(QFileDialog::AcceptSave);
  files.setDefaultSuffix("png");
  files.selectFile(QFileInfo(suggestion).fileName());
  if (files.exec() != QDialog::Accepted) return false;
  choice->file = files.selectedFiles().value(0);
  const gl3::Outcome checked = gl3::CheckOutput(choice->file.toLocal8Bit().toStdString());
  if (checked.status != gl3::kDone) {
    *error = checked.message;
    return false;
  }
  SizeDialog dialog(*choice, parent);
  if (dialog.exec() != QDialog::Accepted) return false;
  dialog.Read(choice);
  return true;
}

QStringList PictureArguments(const Viewport& viewport, const QStringList& drawing,
                             const SaveChoice& choice) {
  QStringList arguments;
  for (const QString& argument : drawing) {
    // A picture has one background or none.
    if (!choice.transparent || !argument.startsWith("--background=")) arguments << argument;
  }
  if (choice.transparent) arguments << "--no-background";
  if (choice.recipe != SaveChoice::kNamesAlone) arguments << "--recipe=" + choice.recipe;
  arguments << QString("--size=%1x%2").arg(choice.width).arg(choice.height);
  bool isExact = false;
  for (const std::string& name : viewport.HiddenNames(&isExact)) {
    arguments << "--hide=" + QString::fromStdString(name);
  }
  const gl3::RenderOptions seen = viewport.Options();
  return arguments + CameraArguments(seen) + TimeArguments(seen.sequence);
}

QImage DrawImage(Viewport& viewport, std::string* error) {
  const WaitPointer wait;
  std::string renderer;
  const hostkit::Picture picture = viewport.Render(viewport.Options(), &renderer, error);
  if (!picture.bitmap) return {};
  const hostkit::BitmapPtr bytes = hostkit::BytesFromHalves(*picture.bitmap);
  if (!bytes) {
    *error = Tr("memory ran out; make the window smaller").toStdString();
    return {};
  }
  QImage image(bytes->GetWidth(), bytes->GetHeight(), QImage::Format_RGBX8888);
  for (int y = 0; y < image.height(); ++y) {
    std::copy_n(hostkit::ByteRow(*bytes, y), 4 * image.width(), image.scanLine(y));
  }
  return image.convertToFormat(QImage::Format_RGB888);  // an opaque picture's alpha means nothing
}

bool SavePicture(Viewport& viewport, const QStringList& models, const QStringList& arguments,
                 const QString& file, std::string* error) {
  const std::string path = file.toLocal8Bit().toStdString();
  const gl3::Outcome checked = gl3::CheckOutput(path);
  gl3::RenderOptions options;
  if (checked.status != gl3::kDone) {
    *error = checked.message;
    return false;
  }
  if (!ReadChoices(arguments, &options, error)) return false;
  options.output = path;
  options.models.clear();
  for (const QString& model : models) {
    options.models.push_back(model.toLocal8Bit().toStdString());
  }
  const WaitPointer wait;
  gl3::RecipeBase base;
  const gl3::OptionParser parser;
  gl3::RenderOptions unused;
  gl3::AddRenderOptions(parser, &unused);
  base.command = gl3::RecipeCommand(parser, RenderWords(models, file, arguments), options.recipe);
  const hostkit::Picture picture = viewport.Render(options, &base.renderer, error);
  if (!picture.bitmap) return false;
  base.inputs = gl3::DescribeInputs(options.models);
  const std::string camera =
      gl3::DescribeCamera(viewport.CameraFor(options), viewport.Scene()->origin);
  gl3::Shot shot;
  const ShownTime& time = viewport.Time();
  if (time.isAnimated) {
    shot.frame = time.frame;
    shot.time = time.Seconds();
  }
  return hostkit::WritePicture(path, picture, gl3::MakeRecipe(base, options, shot, camera),
                               {options.jpegQuality}, error);
}

}  // namespace view

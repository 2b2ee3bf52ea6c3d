// The choice of what is behind the model.
#include "apps/gl3-view/background_choice.h"

#include <QComboBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QPushButton>
#include <QSignalBlocker>
#include <QVBoxLayout>
#include <string>
#include <utility>

#include "apps/gl3-view/color_button.h"
#include "apps/gl3-view/texts.h"
#include "apps/options/background_option.h"

namespace view {
namespace {

enum Kind { kPlain, kGradient, kPicture };
const QColor kUsual(0x29, 0x2b, 0x30);  // as gl3 render has it unasked
const QColor kUsualBottom(0x60, 0x68, 0x70);

QColor ColorOf(const float rgb[3]) {
  return QColor::fromRgbF(rgb[0], rgb[1], rgb[2]);
}

}  // namespace

BackgroundChoice::BackgroundChoice(std::function<void()> changed, QWidget* parent)
    : QWidget(parent), m_changed(std::move(changed)) {
  auto* const layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  m_kind = new QComboBox(this);
  m_kind->setObjectName("--background");
  m_kind->addItems({Tr("one colour"), Tr("gradient"), Tr("picture")});
  setFocusProxy(m_kind);
  layout->addWidget(m_kind);
  m_color = new ColorButton(
      kUsual, [this] { m_changed(); }, this);
  m_bottom = new ColorButton(
      kUsualBottom, [this] { m_changed(); }, this);
  m_bottom->setToolTip(Tr("At the bottom"));
  layout->addWidget(m_color);
  layout->addWidget(m_bottom);
  m_choose = new QPushButton(this);
  layout->addWidget(m_choose);
  connect(m_choose, &QPushButton::clicked, this, [this] {
    AskForPicture();
    m_changed();
  });
  connect(m_kind, &QComboBox::currentIndexChanged, this, [this] {
    ShowFields();
    if (m_kind->currentIndex() == kPicture && m_picture.isEmpty()) AskForPicture();
    m_changed();
  });
  SetPicture("");
  ShowFields();
}

void BackgroundChoice::ShowFields() {
  const int kind = m_kind->currentIndex();
  m_color->setVisible(kind != kPicture);
  m_color->setToolTip(kind == kGradient ? Tr("At the top") : QString());
  m_bottom->setVisible(kind == kGradient);
  m_choose->setVisible(kind == kPicture);
}

void BackgroundChoice::AskForPicture() {
  const QString file = QFileDialog::getOpenFileName(window(), Tr("A picture behind the model"),
                                                    QFileInfo(m_picture).path());
  if (!file.isEmpty()) SetPicture(file);
}

void BackgroundChoice::SetPicture(const QString& file) {
  m_picture = file;
  const QString name = QFileInfo(file).fileName().replace('&', "&&");
  m_choose->setText(file.isEmpty() ? Tr("Choose…") : name);
}

QStringList BackgroundChoice::Values() const {
  switch (m_kind->currentIndex()) {
    case kGradient:
      return {m_color->Color().name() + ',' + m_bottom->Color().name()};
    case kPicture:
      return m_picture.isEmpty() ? QStringList() : QStringList{m_picture};
    default:
      return m_color->Color() == kUsual ? QStringList() : QStringList{m_color->Color().name()};
  }
}

void BackgroundChoice::SetValues(const QStringList& values) {
  const QSignalBlocker quiet(m_kind);
  gl3::BackgroundOption read;
  std::string error;
  const bool isRead = gl3::ReadBackground(values.value(0).toStdString(), &read, &error);
  const bool isPicture = isRead && !read.picture.empty();
  m_kind->setCurrentIndex(isPicture ? kPicture : isRead && read.isGradient ? kGradient : kPlain);
  m_color->SetColor(isRead && !isPicture ? ColorOf(read.color) : kUsual);
  m_bottom->SetColor(isRead && read.isGradient ? ColorOf(read.bottom) : kUsualBottom);
  SetPicture(isPicture ? values.first() : QString());
  ShowFields();
}

}  // namespace view

// The list of what a model has.
#include "apps/gl3-view/scene_list.h"

#include <Imath/ImathBoxAlgo.h>

#include <QAction>
#include <QHeaderView>
#include <QLocale>
#include <QScopedValueRollback>
#include <QTreeWidget>
#include <algorithm>
#include <cstddef>
#include <string>
#include <utility>

#include "apps/base/text.h"
#include "apps/gl3-view/texts.h"
#include "apps/work/info/model_facts.h"

namespace view {
namespace {

enum Column { kName, kTriangles, kSize, kMaterial };
constexpr int kPartNumber = Qt::UserRole;
constexpr std::size_t kMostParts = 20000;  // rows that a list is of use with
constexpr int kSizeDigits = 4;

/// A name out of a file on one line.
QString Shown(const std::string& name, const QString& otherwise) {
  const QString text = QString::fromStdString(gl3::OneLine(name));
  return text.isEmpty() ? otherwise : text;
}

QString SizeText(const Imath::V3f& size) {
  return QString("%1 × %2 × %3")
      .arg(static_cast<double>(size.x), 0, 'g', kSizeDigits)
      .arg(static_cast<double>(size.y), 0, 'g', kSizeDigits)
      .arg(static_cast<double>(size.z), 0, 'g', kSizeDigits);
}

QTreeWidgetItem* AddGroup(const QString& name, SceneList::Rows* rows) {
  rows->groups.push_back(std::make_unique<QTreeWidgetItem>());
  QTreeWidgetItem* const group = rows->groups.back().get();
  group->setText(kName, name);
  group->setFlags(Qt::ItemIsEnabled);
  return group;
}

QTreeWidgetItem* AddGroup(const QString& name, std::size_t count, SceneList::Rows* rows) {
  return AddGroup(QString("%1 (%2)").arg(name).arg(count), rows);
}

/// The bounds of each mesh in its own space.
std::vector<Imath::Box3f> BoundsOfMeshes(const hostkit::Scene& model) {
  std::vector<Imath::Box3f> bounds(model.meshes.size());
  for (std::size_t i = 0; i < bounds.size(); ++i) {
    for (const Imath::V3f& position : model.meshes[i].positions) bounds[i].extendBy(position);
  }
  return bounds;
}

void AddParts(const hostkit::Scene& model, SceneList::Rows* rows) {
  QTreeWidgetItem* const group = AddGroup(Tr("Placed meshes"), model.instances.size(), rows);
  const std::vector<Imath::Box3f> bounds = BoundsOfMeshes(model);
  const std::size_t count = std::min(model.instances.size(), kMostParts);
  for (std::size_t i = 0; i < count; ++i) {
    const auto mesh = static_cast<std::size_t>(model.instances[i].mesh);
    const hostkit::SceneMesh& shape = model.meshes[mesh];
    auto* const row = new QTreeWidgetItem(group);
    row->setText(kName, Shown(shape.name, Tr("mesh %1").arg(mesh)));
    row->setText(kTriangles,
                 QLocale().toString(static_cast<qlonglong>(shape.triangles.size() / 3)));
    row->setTextAlignment(kTriangles, Qt::AlignRight);
    if (!bounds[mesh].isEmpty()) {
      const Imath::Box3f placed = Imath::transform(bounds[mesh], model.instances[i].toWorld);
      row->setText(kSize, SizeText(placed.size()));
    }
    row->setText(kMaterial,
                 Shown(model.materials[static_cast<std::size_t>(shape.material)].name, ""));
    row->setData(kName, kPartNumber, static_cast<int>(i));
    row->setCheckState(kName, Qt::Checked);
    rows->parts.push_back(row);
  }
}

void AddLooks(const hostkit::Scene& model, SceneList::Rows* rows) {
  QTreeWidgetItem* const materials = AddGroup(Tr("Materials"), model.materials.size(), rows);
  for (const hostkit::SceneMaterial& material : model.materials) {
    (new QTreeWidgetItem(materials))->setText(kName, Shown(material.name, Tr("without a name")));
  }
  QTreeWidgetItem* const pictures = AddGroup(Tr("Pictures"), model.images.size(), rows);
  for (const hostkit::SceneImage& image : model.images) {
    auto* const row = new QTreeWidgetItem(pictures);
    row->setText(kName, Shown(image.name, Tr("without a name")));
    if (!image.bitmap) continue;
    row->setText(kSize,
                 QString("%1 × %2").arg(image.bitmap->GetWidth()).arg(image.bitmap->GetHeight()));
  }
}

/// As `gl3 info` tells them.
void AddFacts(const hostkit::Scene& model, SceneList::Rows* rows) {
  QTreeWidgetItem* const group = AddGroup(Tr("Facts"), rows);
  for (const auto& [label, value] : gl3::LinesOf(gl3::DescribeModel("", model))) {
    for (const QString& line : QString::fromStdString(value).split('\n')) {
      auto* const row = new QTreeWidgetItem(group);
      row->setText(kName, QString::fromStdString(label) + ": " + line);
    }
  }
}

}  // namespace

SceneList::SceneList(Listener listener, QWidget* parent)
    : QDockWidget(Tr("Scene"), parent),
      m_listener(std::move(listener)),
      m_tree(new QTreeWidget(this)) {
  setObjectName("scene");
  m_tree->setHeaderLabels({Tr("Name"), Tr("Triangles"), Tr("Size"), Tr("Material")});
  m_tree->setUniformRowHeights(true);
  m_tree->setContextMenuPolicy(Qt::ActionsContextMenu);
  const auto add = [this](const QString& text, void (SceneList::*act)()) {
    auto* const action = new QAction(text, m_tree);
    connect(action, &QAction::triggered, this, act);
    m_tree->addAction(action);
  };
  add(Tr("Show this &alone"), &SceneList::Isolate);
  add(Tr("&Show all"), &SceneList::ShowAll);
  setWidget(m_tree);
  connect(m_tree, &QTreeWidget::itemChanged, this, [this] { TellHidden(); });
  connect(m_tree, &QTreeWidget::currentItemChanged, this, [this](QTreeWidgetItem* item) {
    if (m_setting) return;
    const QVariant part = item ? item->data(kName, kPartNumber) : QVariant();
    m_listener.mark(part.isValid() ? part.toInt() : -1);
  });
}

SceneList::Rows SceneList::RowsOf(const hostkit::Scene& model) {
  Rows rows;
  rows.partCount = model.instances.size();
  AddParts(model, &rows);
  AddLooks(model, &rows);
  AddFacts(model, &rows);
  return rows;
}

void SceneList::SetRows(Rows rows) {
  const QScopedValueRollback<bool> setting(m_setting, true);
  m_tree->clear();
  m_parts = std::move(rows.parts);
  m_hidden.assign(rows.partCount, false);
  for (std::unique_ptr<QTreeWidgetItem>& group : rows.groups) {
    m_tree->addTopLevelItem(group.release());
  }
  m_tree->topLevelItem(0)->setExpanded(true);
  m_tree->resizeColumnToContents(kName);
  QTreeWidgetItem* const facts = m_tree->topLevelItem(m_tree->topLevelItemCount() - 1);
  for (int i = 0; i < facts->childCount(); ++i) facts->child(i)->setFirstColumnSpanned(true);
}

void SceneList::ShowPart(int part) {
  const QScopedValueRollback<bool> setting(m_setting, true);
  const auto index = static_cast<std::size_t>(part);
  m_tree->setCurrentItem(part >= 0 && index < m_parts.size() ? m_parts[index] : nullptr);
}

/// Those without a row stay as they are.
void SceneList::TellHidden() {
  if (m_setting) return;
  for (std::size_t i = 0; i < m_parts.size(); ++i) {
    m_hidden[i] = m_parts[i]->checkState(kName) != Qt::Checked;
  }
  m_listener.hide(m_hidden);
}

void SceneList::SetHidden(std::vector<bool> hidden) {
  const QScopedValueRollback<bool> setting(m_setting, true);
  m_hidden = std::move(hidden);
  for (std::size_t i = 0; i < m_parts.size(); ++i) {
    m_parts[i]->setCheckState(kName, m_hidden[i] ? Qt::Unchecked : Qt::Checked);
  }
}

void SceneList::ShowHidden(const VisibleParts& parts) {
  SetHidden(parts.Hidden());
}

void SceneList::Isolate() {
  const auto current = std::find(m_parts.begin(), m_parts.end(), m_tree->currentItem());
  if (current == m_parts.end()) return;
  std::vector<bool> hidden(m_hidden.size(), true);
  hidden[static_cast<std::size_t>(current - m_parts.begin())] = false;
  SetHidden(std::move(hidden));
  TellHidden();
}

void SceneList::ShowAll() {
  SetHidden(std::vector<bool>(m_hidden.size()));
  TellHidden();
}

}  // namespace view

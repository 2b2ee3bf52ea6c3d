// The list of what a model has.
#pragma once

#include <QDockWidget>
#include <QTreeWidgetItem>
#include <cstddef>
#include <functional>
#include <memory>
#include <vector>

#include "apps/gl3-view/visible_parts.h"
#include "hostkit/scene/scene.h"

class QTreeWidget;

namespace view {

/// Placed meshes with their triangles, size and material: to be hidden, shown alone and marked; and
/// materials, pictures, and what else there is to tell of it.
class SceneList : public QDockWidget {
 public:
  struct Listener {
    std::function<void(std::vector<bool> hidden)> hide;  ///< By part.
    std::function<void(int part)> mark;                  ///< -1: none.
  };

  /// What it lists of a model.
  struct Rows {
    std::vector<std::unique_ptr<QTreeWidgetItem>> groups;  ///< The last one has the facts.
    std::vector<QTreeWidgetItem*> parts;                   ///< By part, as many as have a row.
    std::size_t partCount = 0;
  };

  SceneList(Listener listener, QWidget* parent);

  /// The rows of a model that is as it was read.
  static Rows RowsOf(const hostkit::Scene& model);
  /// Lists a model of which nothing is hidden, in place of the one before.
  void SetRows(Rows rows);
  /// Makes a part the current one without telling of it; -1: none.
  void ShowPart(int part);
  /// Shows which parts are hidden, without telling of it.
  void ShowHidden(const VisibleParts& parts);
  /// Hides all but the current part, or shows all.
  void Isolate();
  void ShowAll();

 private:
  void SetHidden(std::vector<bool> hidden);
  void TellHidden();

  Listener m_listener;
  QTreeWidget* m_tree;
  std::vector<QTreeWidgetItem*> m_parts;  // by part, as many as have a row
  std::vector<bool> m_hidden;             // by part
  bool m_setting = false;
};

}  // namespace view

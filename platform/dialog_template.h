// What a dialog looks like, as tables that a module carries as its resources: which controls there
// are, how they are grouped, and in one table all the texts, so that a translation replaces that.
#pragma once

#if __cplusplus < 202002L
#error "hosts of OpenGL3 are C++20: -std=c++20"
#endif

#include <cstddef>
#include <span>

namespace platform {

/// One text of a dialog with what goes with it. The strings are UTF-8, stay in place and are never
/// null; the key is a letter or digit that works with Alt, 0 for none. It belongs to the text and
/// is translated with it, though the text of the moment need not contain it.
struct DialogText {
  const char* text = "";     ///< What is shown.
  const char* toolTip = "";  ///< What is told of it.
  char accessKey = 0;        ///< See above.
};

/// What a control is.
enum class ControlKind {
  kGroup,          ///< A frame with a caption around the controls of its group.
  kLabel,          ///< A caption for the control that follows it in the table.
  kValue,          ///< Text that is read, selected and copied, but not changed.
  kCheckBox,       ///< On or off.
  kButton,         ///< Does something.
  kDefaultButton,  ///< The same, and Enter does it too.
  kList,           ///< Lines of text.
  kCheckList,      ///< Lines of text with a check mark each.
  kPages,          ///< Of a sheet: the place of its pages, with tabs when there are several.
};

/// Where a control lies in the grid of its group: rows grow as high, and columns as wide, as the
/// texts of the moment need. The cell of a group lies in the grid of the dialog.
struct GridCell {
  /// Where it begins, from 0.
  int row = 0, column = 0;
  /// How far it reaches.
  int rows = 1, columns = 1;
};

constexpr int kNoControlId = -1;  ///< Of a control that nobody refers to.
constexpr int kNoText = -1;       ///< Of a control without a text.
constexpr int kNoGroup = 0;       ///< Of a control that lies in no group.

/// A control as its dialog begins with it.
struct ControlTemplate {
  int id = kNoControlId;  ///< Unique in its dialog; kNoControlId for what nobody refers to.
  ControlKind kind = ControlKind::kLabel;  ///< What it is.
  int text = kNoText;                      ///< Row of the texts.
  int group = kNoGroup;  ///< Of a group: the number it gives itself. Else the group it lies in.
  GridCell cell;         ///< Its place in that group.
};

/// A dialog. The controls stand in tab order, a group before what lies in it.
struct DialogTemplate {
  int id = 0;                                 ///< Unique in its module.
  int title = kNoText;                        ///< Row of the texts.
  std::span<const ControlTemplate> controls;  ///< Stay in place.
};

/// Everything that a module carries.
struct DialogResources {
  std::span<const DialogTemplate> dialogs;  ///< Stay in place.
  std::span<const DialogText> texts;        ///< Of all dialogs; stay in place.

  /// A row of the texts; an empty text for kNoText and for a row that there is not.
  const DialogText& Text(int row) const {
    static constexpr DialogText kEmpty;
    const bool known = row >= 0 && static_cast<std::size_t>(row) < texts.size();
    return known ? texts[static_cast<std::size_t>(row)] : kEmpty;
  }
};

}  // namespace platform

// Layout and texts of the module's dialogs.
#include "settings/DialogTemplates.h"

#include "platform/win32.h"

namespace {

using platform::ControlKind;
using platform::ControlTemplate;
using platform::DialogTemplate;
using platform::DialogText;
using platform::kNoControlId;
using platform::kNoGroup;

enum TextRow {
  kPageTitle,
  kSystemCaption,
  kVersionLabel,
  kVersionValue,
  kVendorLabel,
  kVendorValue,
  kRendererLabel,
  kRendererValue,
  kLanguageLabel,
  kLanguageValue,
  kExtensionsCaption,
  kPageListText,
  kAllExtensionsText,
  kOptionsCaption,
  kAntialiasText,
  kAnisotropicText,
  kInverseSortText,
  kPolygonModeText,
  kCompressionText,
  kPowerOfTwoText,
  kDialogTitle,
  kDialogListText,
  kSaveText,
  kCloseText,
  kTextCount
};

/// Every text that a user reads, in the order of TextRow: caption, tool tip, access key. This table
/// is what a translation replaces. Keys are unique in a dialog.
constexpr DialogText kTexts[] = {
    {"OpenGL", "", 0},
    {"Graphics system", "", 0},
    {"Version:", "", 'V'},
    {"", "The version of OpenGL that this machine offers", 0},
    {"Vendor:", "", 'n'},
    {"", "Who made the graphics driver", 0},
    {"Renderer:", "", 'R'},
    {"", "The graphics device, or the program that stands in for one", 0},
    {"Shading language:", "", 'l'},
    {"", "The version of the language that effects are written in", 0},
    {"Extensions", "", 0},
    {"", "Extensions that the renderer can make use of; those checked are available", 0},
    {"All extensions…", "Lists everything that the graphics driver reports", 'e'},
    {"Options", "", 0},
    {"Smooth points and lines", "Draws points and lines without jagged edges; slower", 'S'},
    {"Anisotropic filtering", "Keeps textures sharp on surfaces that are seen at a low angle", 'A'},
    {"Inverse transparency sort",
     "Kept for the host; this renderer itself always draws far surfaces first", 'I'},
    {"Wireframe", "Draws the edges of surfaces alone", 'W'},
    {"Compress textures", "Stores large textures compressed: less memory, less quality", 'C'},
    {"Power-of-two textures", "For drivers that are slow or wrong with textures of other sizes",
     'P'},
    {"OpenGL Extensions", "", 0},
    {"", "Every extension that the graphics driver reports", 0},
    {"Save to file…", "Writes the full report on the graphics system to a text file", 'S'},
    {"Close", "", 'C'}};
static_assert(sizeof kTexts / sizeof *kTexts == kTextCount);

enum Group { kSystemGroup = 1, kExtensionsGroup, kOptionsGroup };

constexpr ControlTemplate kPageControls[] = {
    {kNoControlId, ControlKind::kGroup, kSystemCaption, kSystemGroup, {0, 0, 1, 1}},
    {kNoControlId, ControlKind::kLabel, kVersionLabel, kSystemGroup, {0, 0, 1, 1}},
    {kVersionText, ControlKind::kValue, kVersionValue, kSystemGroup, {0, 1, 1, 1}},
    {kNoControlId, ControlKind::kLabel, kVendorLabel, kSystemGroup, {1, 0, 1, 1}},
    {kVendorText, ControlKind::kValue, kVendorValue, kSystemGroup, {1, 1, 1, 1}},
    {kNoControlId, ControlKind::kLabel, kRendererLabel, kSystemGroup, {2, 0, 1, 1}},
    {kRendererText, ControlKind::kValue, kRendererValue, kSystemGroup, {2, 1, 1, 1}},
    {kNoControlId, ControlKind::kLabel, kLanguageLabel, kSystemGroup, {3, 0, 1, 1}},
    {kShadingLanguageText, ControlKind::kValue, kLanguageValue, kSystemGroup, {3, 1, 1, 1}},
    {kNoControlId, ControlKind::kGroup, kExtensionsCaption, kExtensionsGroup, {1, 0, 1, 1}},
    {kExtensionList, ControlKind::kCheckList, kPageListText, kExtensionsGroup, {0, 0, 1, 2}},
    {kExtensionsButton, ControlKind::kButton, kAllExtensionsText, kExtensionsGroup, {1, 1, 1, 1}},
    {kNoControlId, ControlKind::kGroup, kOptionsCaption, kOptionsGroup, {2, 0, 1, 1}},
    {kAntialiasBox, ControlKind::kCheckBox, kAntialiasText, kOptionsGroup, {0, 0, 1, 1}},
    {kAnisotropicBox, ControlKind::kCheckBox, kAnisotropicText, kOptionsGroup, {1, 0, 1, 1}},
    {kInverseSortBox, ControlKind::kCheckBox, kInverseSortText, kOptionsGroup, {2, 0, 1, 1}},
    {kPolygonModeBox, ControlKind::kCheckBox, kPolygonModeText, kOptionsGroup, {0, 1, 1, 1}},
    {kCompressionBox, ControlKind::kCheckBox, kCompressionText, kOptionsGroup, {1, 1, 1, 1}},
    {kPowerOfTwoBox, ControlKind::kCheckBox, kPowerOfTwoText, kOptionsGroup, {2, 1, 1, 1}}};

constexpr ControlTemplate kExtensionsControls[] = {
    {kExtensionList, ControlKind::kList, kDialogListText, kNoGroup, {0, 0, 1, 3}},
    {kSaveButton, ControlKind::kButton, kSaveText, kNoGroup, {1, 1, 1, 1}},
    {IDOK, ControlKind::kDefaultButton, kCloseText, kNoGroup, {1, 2, 1, 1}}};

constexpr DialogTemplate kDialogs[] = {{kPageDialog, kPageTitle, kPageControls},
                                       {kExtensionsDialog, kDialogTitle, kExtensionsControls}};

}  // namespace

// Constant-initialised, so that it is there when the module's entry registers it.
constinit const platform::DialogResources kDialogResources = {kDialogs, kTexts};

// The module's dialogs: ids of their controls, and the templates that the module registers.
#pragma once

#include "platform/dialog_template.h"

enum DialogId { kPageDialog = 200, kExtensionsDialog = 201 };

// The numbers are part of the interface: a host finds the controls by them.
enum ControlId {
  kAntialiasBox = 1347,
  kVendorText = 1348,
  kRendererText = 1349,
  kVersionText = 1350,
  kExtensionsButton = 1351,
  kShadingLanguageText = 1352,
  kExtensionList = 1356,  // on the page those that matter, in the other dialog all
  kPolygonModeBox = 1357,
  kSaveButton = 1358,
  kAnisotropicBox = 1359,
  kInverseSortBox = 1367,
  kCompressionBox = 1368,
  kPowerOfTwoBox = 1369,
};

/// Both dialogs with all their texts.
extern const platform::DialogResources kDialogResources;

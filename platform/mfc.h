// The part of MFC that the module uses: windows, dialogs, files and the registration of extension
// modules.
#pragma once

#include "platform/mfc_dialogs.h"
#include "platform/mfc_files.h"
#include "platform/mfc_modules.h"
#include "platform/mfc_windows.h"
#include "platform/win32.h"

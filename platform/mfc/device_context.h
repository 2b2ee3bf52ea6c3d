// Device contexts: what stands behind their handles.
#pragma once

#include <memory>

#include "platform/egl/handle_table.h"
#include "platform/mfc.h"
#include "platform/ports.h"

namespace platform {

struct DeviceContext {
  CDC object;               ///< What CDC::FromHandle hands out.
  CGrafPtr port = nullptr;  ///< Null for a device context without a window.
};

HandleTable<DeviceContext, HandleKind::kDeviceContext>& DeviceContexts();

}  // namespace platform

// When the module last asked the bitmaps for something.
#include "hostkit/services/bitmap_calls.h"

namespace hostkit {

BitmapCalls& LastBitmapCalls() {
  static thread_local BitmapCalls calls;
  return calls;
}

}  // namespace hostkit

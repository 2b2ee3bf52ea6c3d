// A module as it should be, with a driver that does nothing.
#include "host/GADriver.h"
#include "platform/win32.h"

namespace {

int attached = 0;

class IdleDriver : public GADriver {
  void SetDefaults() override {}
  int Initialize() override { return 1; }
  int Terminate() override { return 1; }
  int IsOperational() override { return 1; }
  GANativeColor* CreateColor() override { return nullptr; }
  GANativeColor* CreateColor(const ColorBuf&) override { return nullptr; }
  GANativeColor* CreateColor(const RGBFloat&) override { return nullptr; }
  GANativeColor* CreateColor(const Vector4&) override { return nullptr; }
  GANativeColor* CreateColor(const GAColor&) override { return nullptr; }
  GABuffer* CreateBuffer(RenderInfo*, int, int) override { return nullptr; }
  GATexture* CreateTexture() override { return nullptr; }
  DisplayList* CreateDisplayList(RenderInfo*) override { return nullptr; }
  GAShaderProgram* CreateShaderProgram(RenderInfo*) override { return nullptr; }
  CPropertyPage* CreatePropertyPage(int) override { return nullptr; }
  int IsHardwareSupport() override { return 0; }
  int IsSupportGPU() override { return 0; }
};

}  // namespace

extern "C" {

int DllMain(HINSTANCE, DWORD reason, void*) {
  attached += reason == DLL_PROCESS_ATTACH ? 1 : -1;
  return 1;
}

GADriver* CreateDriver() {
  return new IdleDriver;
}

/// How often the module was attached more than detached.
int TestAttached() {
  return attached;
}
}

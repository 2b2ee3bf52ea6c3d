// A driver that makes nothing but colours, and counts them.
#pragma once

#include "host/Colors.h"
#include "host/GADriver.h"

/// A native colour that keeps its bytes.
class FakeColor : public GANativeColor {
 public:
  FakeColor() { ++live; }
  ~FakeColor() override { --live; }

  void Set(unsigned char r, unsigned char g, unsigned char b, unsigned char a) override {
    m_value = {r, g, b, a};
  }
  void SetRed(unsigned char red) override { m_value.red = red; }
  void SetGreen(unsigned char green) override { m_value.green = green; }
  void SetBlue(unsigned char blue) override { m_value.blue = blue; }
  void SetAlpha(unsigned char alpha) override { m_value.alpha = alpha; }
  unsigned char Red() const override { return m_value.red; }
  unsigned char Green() const override { return m_value.green; }
  unsigned char Blue() const override { return m_value.blue; }
  unsigned char Alpha() const override { return m_value.alpha; }
  void Set(const RGBFloat&) override {}

  static inline int live = 0;

 private:
  ColorBuf m_value;
};

class FakeDriver : public GADriver {
 public:
  void SetDefaults() override {}
  int Initialize() override { return 1; }
  int Terminate() override { return 1; }
  int IsOperational() override { return 1; }
  GANativeColor* CreateColor() override { return exhausted ? nullptr : new FakeColor; }
  GANativeColor* CreateColor(const ColorBuf& color) override {
    GANativeColor* native = CreateColor();
    if (native) native->Set(color.red, color.green, color.blue, color.alpha);
    return native;
  }
  GANativeColor* CreateColor(const RGBFloat&) override { return CreateColor(); }
  GANativeColor* CreateColor(const Vector4&) override { return CreateColor(); }
  GANativeColor* CreateColor(const GAColor& color) override {
    const GANativeColor* from = color.Native();
    return CreateColor(ColorBuf{from->Red(), from->Green(), from->Blue(), from->Alpha()});
  }
  GABuffer* CreateBuffer(RenderInfo*, int, int) override { return nullptr; }
  GATexture* CreateTexture() override { return nullptr; }
  DisplayList* CreateDisplayList(RenderInfo*) override { return nullptr; }
  GAShaderProgram* CreateShaderProgram(RenderInfo*) override { return nullptr; }
  CPropertyPage* CreatePropertyPage(int) override { return nullptr; }
  int IsHardwareSupport() override { return 0; }
  int IsSupportGPU() override { return 0; }

  bool exhausted = false;  // no memory for another colour
};

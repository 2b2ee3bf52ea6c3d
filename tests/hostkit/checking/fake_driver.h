// A driver that does nothing, so that what would end a process can be called wrongly as well.
#pragma once

#include <vector>

#include "host/DisplayList.h"
#include "host/GABuffer.h"
#include "host/GADriver.h"
#include "host/GAShaderProgram.h"
#include "host/GATexture.h"

struct FakeBuffer : GABuffer {
  static inline int reallocates = 1;
  int Reallocate(int, int, int) override { return reallocates; }
  int AllocateforShader(int, int) override { return 1; }
  int SetBackground(const GAColor&) override { return 1; }
  int Destroy() override { return 1; }
  int Clear() override { return 1; }
  int Blit(tagBITMAPINFO*) override { return 1; }
  int BlitToFront(CWnd*, unsigned short, unsigned short) override { return 1; }
  int FillBitmapNode(HBitmapNode*, int) override { return 1; }
  int AfxFillRect(int, int, int, int, float, GAColor&) override { return 1; }
  int TextOutA(int, int, const char*, const GAColor&, int) override { return 1; }
  float GetZValue(int x, int y) override { return static_cast<float>(x + 10 * y); }
  int CopyObjects(GABuffer*, int) override { return 1; }
  RGBFloat GetFogColor() override { return {0.25f, 0.5f, 0.75f}; }
};

struct FakeList : DisplayList {
  using DisplayList::AddLine;
  using DisplayList::DisplayList;
  using P = const Vector&;
  using C = const GAColor&;
  void OnSize() override {}
  void SetDefaultColor(GAColor&) override {}
  void SetDepthFunc(int) override {}
  void SetTexture(GATexture*) override {}
  int AddOGLVertex(P, C) override { return 0; }
  int AddTransformedVertex(P) override { return 0; }
  int AddTransformedVertex(P, C) override { return 0; }
  int AddTransformedVertex(P, C, const Vector2&) override { return 0; }
  int TransformAndAddVertex(Vector, C) override { return 0; }
  void PrepForLines() override {}
  void AddLine(int, int) override {}
  void AddTransformedLine(P, P) override {}
  void AddTransformedLine(P, P, C) override {}
  void AddTransformedLineRef(P, P) override {}
  void AddTransformedLineRef(P, P, C) override {}
  void AddTransformedLine(P, C, P, C) override {}
  void AddTransformedLineList(Vector*, int) override {}
  void AddTransformedLineList(Vector*, Vector*, int, GAColor&, GAColor&) override {}
  void AddTransformedShadedLineList(GAShadedLineVertex*, int, int) override {}
  void AddIndexedLineList(std::vector<GALitVertex>&, std::vector<unsigned int>&) override {}
  void AddRectangle(int, int, int, int, float) override {}
  void AddRectangle(int, int, int, int, float, GAColor&) override {}
  void AddCP(P, int, GAColor&) override {}
  void PrepForPoints() override {}
  void AddTransformedPoint(P) override {}
  void AddTransformedPoint(P, C) override {}
  void AddPoint(int) override {}
  void PrepForPolygons() override {}
  void PrepForPolygonArray() override {}
  void AddTransformedPolygon(const VornPoly&, int) override {}
  void AddTransformedPolygons(const VornPoly*, int, int) override {}
  void AddTransformedQuad(GAVertex*, int, int) override {}
  void AddTransformedTri(GAVertex*, int) override {}
  void AddTransformedQuad(GAVertex*, RGBFloat*, int) override {}
  void AddTransformedQuad(GALitVertex*) override {}
  void AddSolidRectangle(int, int, int, int, float) override {}
  void AddSolidRectangle(int, int, int, int, float, GAColor&) override {}
  using Index = unsigned short;
  using Count = unsigned long;
  void AddIndexedTriangleFan(GAVertex*, Count, Index*, Count, int) override {}
  void AddIndexedLitTriangleList(GALitVertex*, Count, Index*, Count, int) override {}
  void AddIndexedLitTriangleListWT(GALitVertexWT*, Count, Index*, Count, int) override {}
  void FlushTransparentPolys() override {}
  void BeginInstructions() override {}
  void EndInstructions() override {}
  void ExecuteInstructions() override {}
  void FlushArrays() override {}
  void Execute() override {}
  void SetProjection(int) override {}
  void SetupLights(LightListNode*) override {}
  void SetMaterial(AttrProperty*, float) override {}
};

struct FakeTexture : GATexture {
  int MakeGATexture(unsigned char*) override { return 1; }
  int MakeGATextureForShader(HBitmapNode*) override { return 1; }
  int MakeGATexture(HBitmapNode*, int, int, int) override { return 1; }
  void FreeGATexture() override {}
};

struct FakeProgram : GAShaderProgram {
  int IsOperational() override { return 1; }
  int Init(int, float*, int) override { return 1; }
  int Process(int, HBitmapNode*, HBitmapNode*, float) override { return 1; }
};

struct FakeDriver : GADriver {
  void SetDefaults() override {}
  static inline int initializes = 1;
  int Initialize() override { return initializes; }
  int Terminate() override { return 1; }
  int IsOperational() override { return 1; }
  GANativeColor* CreateColor() override { return nullptr; }
  GANativeColor* CreateColor(const ColorBuf&) override { return nullptr; }
  GANativeColor* CreateColor(const RGBFloat&) override { return nullptr; }
  GANativeColor* CreateColor(const Vector4&) override { return nullptr; }
  GANativeColor* CreateColor(const GAColor&) override { return nullptr; }
  GABuffer* CreateBuffer(RenderInfo*, int, int) override { return new FakeBuffer; }
  GATexture* CreateTexture() override { return new FakeTexture; }
  DisplayList* CreateDisplayList(RenderInfo* info) override { return new FakeList(info); }
  GAShaderProgram* CreateShaderProgram(RenderInfo*) override { return new FakeProgram; }
  CPropertyPage* CreatePropertyPage(int) override { return nullptr; }
  int IsHardwareSupport() override { return 1; }
  int IsSupportGPU() override { return 1; }
};

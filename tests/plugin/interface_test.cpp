// What hosts were promised in numbers: the order of virtual operations, flags, ids and enumerants.
// Records' layouts are asserted where they are declared.
#include <gtest/gtest.h>

#include <cstring>
#include <string_view>
#include <type_traits>
#include <vector>

#include "buffer/GL3Buffer.h"
#include "driver/GL3Driver.h"
#include "host/Bitmap.h"
#include "host/DisplayList.h"
#include "host/GATexture.h"
#include "host/Streams.h"
#include "host/Version.h"
#include "platform/cgl.h"
#include "platform/corefoundation.h"
#include "settings/DialogTemplates.h"
#include "shader/Gl3ShaderProgram.h"

namespace {

// Whoever has to change a number of this file changes what hosts were promised, and raises this
// one.
static_assert(std::string_view(kHostVersion) == "GL3_HOST_1");

// Lists of constants are compared as types, so that a wrong number does not compile.
template <int... kValues>
struct Numbers {};
template <auto... kValues>
using As = Numbers<static_cast<int>(kValues)...>;

using Driver = GL3GADriver;
using Buffer = GL3GABuffer;
#define GL3_SAME(...) static_assert(std::is_same_v<__VA_ARGS__>)
GL3_SAME(As<Driver::kAnisotropicWanted, Driver::kAnisotropicAvailable, Driver::kAntialias,
            Driver::kReducedPage, Driver::kBgrBitmaps, Driver::kCompressTextures,
            Driver::kPowerOfTwoTextures>,
         Numbers<0x01, 0x02, 0x04, 0x10, 0x20, 0x40, 0x80>);
GL3_SAME(As<Driver::kGL20, Driver::kGpuShaders>, Numbers<1, 2>);
GL3_SAME(As<Buffer::kDepthWanted, Buffer::kOwnsWindow, Buffer::kFogOn, Buffer::kArraysPending,
            Buffer::kDepthTestOn, Buffer::kLightingOn, Buffer::kSmoothingOn>,
         Numbers<1, 2, 4, 8, 16, 32, 64>);
GL3_SAME(As<Buffer::kUnknownMatrix, Buffer::kProjection, Buffer::kModelView>, Numbers<-1, 0, 2>);
GL3_SAME(
    As<GABuffer::kOnScreen, GABuffer::kOffScreen, GABuffer::kKeepContext, GABuffer::kWithoutDepth,
       GABuffer::kWithDepth, GABuffer::kScreenProjection, GABuffer::kSceneProjection,
       GABuffer::kTopRowFirst, GABuffer::kBottomRowFirst, GATexture::kRepeat, GATexture::kBorder>,
    Numbers<0, 1, 2, 0, 1, 0, 1, 0, 1, 0, 1>);
using List = DisplayList;
GL3_SAME(As<List::kDepthTestOff, List::kDepthTestOn, List::kAdditiveBlending, List::kNormalBlending,
            List::kLightingOn, List::kLightingOff, List::kDrawAsOpaque, List::kCheckTransparency>,
         Numbers<0, 1, 2, 3, 4, 5, 0, 1>);
GL3_SAME(As<List::kQuadBatched, List::kQuadSorted, List::kQuadDefaultColor, List::kQuadCountMask,
            List::kQuadFading, List::kQuadPolyline>,
         Numbers<0, 1, 2, 0x3FFF, 0x4000, 0x8000>);
using Effects = GAShaderProgram;
GL3_SAME(As<Effects::kBlur, Effects::kFilter, Effects::kOcclusion, Effects::kGrayscale,
            Effects::kTint, Effects::kNegative, Effects::kSharpen, Effects::kDilate,
            Effects::kErode, Effects::kLaplacian, Effects::kPrewitt, Effects::kSobel>,
         Numbers<0, 1, 2, 0, 1, 2, 3, 4, 5, 6, 7, 8>);
GL3_SAME(As<Effects::kMergeNewBuffer, Effects::kMergeOverSource, Effects::kBlurMerge,
            Effects::kBlurPasses, Effects::kBlurRadius, Effects::kBlurWidth, Effects::kBlurHeight,
            Effects::kFilterMerge, Effects::kFilterPasses, Effects::kFilterNumber,
            Effects::kFilterWidth, Effects::kFilterHeight>,
         Numbers<0, 1, 0, 1, 2, 3, 4, 0, 1, 2, 3, 4>);
GL3_SAME(As<GALight::kPoint, GALight::kSpot, GALight::kDirectional>, Numbers<0, 1, 2>);
GL3_SAME(As<AttrProperty::kFromBaseColor, RenderInfo::kFlatMaterials,
            LightingEnvironment::kAmbientColorMode, FileStream::kWriteText>,
         Numbers<2, 2, 1, 0x20>);
GL3_SAME(As<HBitmapBuffer::kByteChannel, HBitmapBuffer::kFloatChannel, HBitmapBuffer::kHalfChannel>,
         Numbers<0, 1, 2>);
GL3_SAME(As<kPageDialog, kExtensionsDialog, kAntialiasBox, kVendorText, kRendererText, kVersionText,
            kExtensionsButton, kShadingLanguageText, kExtensionList, kPolygonModeBox, kSaveButton,
            kAnisotropicBox, kInverseSortBox, kCompressionBox, kPowerOfTwoBox>,
         Numbers<200, 201, 1347, 1348, 1349, 1350, 1351, 1352, 1356, 1357, 1358, 1359, 1367, 1368,
                 1369>);
GL3_SAME(As<AGL_NONE, AGL_BUFFER_SIZE, AGL_RGBA, AGL_DOUBLEBUFFER, AGL_DEPTH_SIZE, AGL_PIXEL_SIZE,
            AGL_OFFSCREEN, AGL_ACCELERATED, AGL_BUFFER_RECT, AGL_SWAP_INTERVAL>,
         Numbers<0, 2, 4, 5, 12, 50, 53, 73, 202, 222>);
GL3_SAME(
    As<AGL_NO_ERROR, AGL_BAD_ATTRIBUTE, AGL_BAD_PIXELFMT, AGL_BAD_CONTEXT, AGL_BAD_DRAWABLE,
       AGL_BAD_STATE, AGL_BAD_VALUE, AGL_BAD_MATCH, AGL_BAD_ENUM, AGL_BAD_POINTER, AGL_BAD_ALLOC>,
    Numbers<0, 10000, 10002, 10004, 10005, 10007, 10008, 10009, 10010, 10014, 10016>);
GL3_SAME(As<kCGLPFADoubleBuffer, kCGLPFAColorSize, kCGLPFAAlphaSize, kCGLPFAMinimumPolicy,
            kCGLPFASampleBuffers, kCGLPFASamples, kCGLPFAAccelerated, kCGLPFADisplayMask,
            kCGLCEMPEngine>,
         Numbers<5, 8, 11, 51, 55, 56, 73, 84, 313>);
GL3_SAME(As<DLL_PROCESS_ATTACH, CS_OWNDC, WS_VISIBLE, WS_CHILD, WS_POPUP, IDOK, IDCANCEL,
            LB_ADDSTRING, LB_GETTEXT, LB_GETTEXTLEN, LB_GETCOUNT, FORMAT_MESSAGE_ALLOCATE_BUFFER,
            FORMAT_MESSAGE_FROM_SYSTEM, LANG_USER_DEFAULT, kSystemDomain, kFrameworksFolderType>,
         Numbers<1, 0x20, 0x10000000, 0x40000000, static_cast<int>(0x80000000u), 1, 2, 0x180, 0x189,
                 0x18A, 0x18B, 0x100, 0x1000, 0x400, -32766, 0x6672616D>);

/// The place of a virtual operation in its class's table, from the member pointer of the Itanium
/// ABI: one more than its distance in bytes. Slots 0 and 1 are the destructors'.
template <class Function, class Class>
std::size_t SlotOf(Function Class::*operation) {
  std::size_t words[2];
  static_assert(sizeof words == sizeof operation);
  std::memcpy(words, &operation, sizeof words);
  return words[0] % 2 == 1 ? (words[0] - 1) / sizeof(void*) : 0;
}

/// Slots are those from 2 on, none left out.
void ExpectInOrder(const std::vector<std::size_t>& slots) {
  for (std::size_t i = 0; i < slots.size(); ++i) EXPECT_EQ(slots[i], i + 2) << "operation " << i;
}

TEST(Interface, DriverSlots) {
  using C = GADriver;
  ExpectInOrder({SlotOf<void()>(&C::SetDefaults),
                 SlotOf<int()>(&C::Initialize),
                 SlotOf<int()>(&C::Terminate),
                 SlotOf<int()>(&C::IsOperational),
                 SlotOf<GANativeColor*()>(&C::CreateColor),
                 SlotOf<GANativeColor*(const ColorBuf&)>(&C::CreateColor),
                 SlotOf<GANativeColor*(const RGBFloat&)>(&C::CreateColor),
                 SlotOf<GANativeColor*(const Vector4&)>(&C::CreateColor),
                 SlotOf<GANativeColor*(const GAColor&)>(&C::CreateColor),
                 SlotOf<GABuffer*(RenderInfo*, int, int)>(&C::CreateBuffer),
                 SlotOf<GATexture*()>(&C::CreateTexture),
                 SlotOf<DisplayList*(RenderInfo*)>(&C::CreateDisplayList),
                 SlotOf<GAShaderProgram*(RenderInfo*)>(&C::CreateShaderProgram),
                 SlotOf<CPropertyPage*(int)>(&C::CreatePropertyPage),
                 SlotOf<int()>(&C::RestoreFrontSurface),
                 SlotOf<int()>(&C::SetFrontSurfacePalette),
                 SlotOf<const char*()>(&C::GLGetLastError),
                 SlotOf<int()>(&C::IsHardwareSupport),
                 SlotOf<const char*()>(&C::GetDriverInfo),
                 SlotOf<int()>(&C::IsSupportGPU)});
}

TEST(Interface, BufferSlots) {
  using C = GABuffer;
  using U16 = unsigned short;
  ExpectInOrder({SlotOf<int(int, int, int)>(&C::Reallocate),
                 SlotOf<int(int, int)>(&C::AllocateforShader),
                 SlotOf<int(const GAColor&)>(&C::SetBackground),
                 SlotOf<int()>(&C::Destroy),
                 SlotOf<int()>(&C::Clear),
                 SlotOf<int(tagBITMAPINFO*)>(&C::Blit),
                 SlotOf<int(GATexture*, CRect, float, const Vector2&, float)>(&C::TransparentBlit),
                 SlotOf<int(CWnd*, U16, U16)>(&C::BlitToFront),
                 SlotOf<int(CRect, CWnd*, U16, U16)>(&C::RepaintFront),
                 SlotOf<int(HBitmapNode*, int)>(&C::FillBitmapNode),
                 SlotOf<int(int, int, int, int, float, GAColor&)>(&C::AfxFillRect),
                 SlotOf<int(int, int, const char*, const GAColor&, int)>(&C::TextOutA),
                 SlotOf<float(int, int)>(&C::GetZValue),
                 SlotOf<int()>(&C::SetRenderState),
                 SlotOf<int(GABuffer*, int)>(&C::CopyObjects),
                 SlotOf<void()>(&C::BeginScene),
                 SlotOf<void()>(&C::EndScene),
                 SlotOf<void()>(&C::ComputeProjectionMatrices),
                 SlotOf<void(int)>(&C::SetProjection),
                 SlotOf<int()>(&C::IsFogEnabled),
                 SlotOf<void(int)>(&C::SetFogState),
                 SlotOf<RGBFloat()>(&C::GetFogColor),
                 SlotOf<void(RGBFloat)>(&C::SetFogColor),
                 SlotOf<void(float)>(&C::SetFogDensity)});
}

TEST(Interface, TextureShaderAndColorSlots) {
  ExpectInOrder({SlotOf<int(unsigned char*)>(&GATexture::MakeGATexture),
                 SlotOf<int(HBitmapNode*)>(&GATexture::MakeGATextureForShader),
                 SlotOf<int(HBitmapNode*, int, int, int)>(&GATexture::MakeGATexture),
                 SlotOf<void()>(&GATexture::FreeGATexture)});
  using P = GL3GAShaderProgram;  // whose own operations follow the host's
  ExpectInOrder({SlotOf<int()>(&GAShaderProgram::IsOperational),
                 SlotOf<int(int, float*, int)>(&GAShaderProgram::Init),
                 SlotOf<int(int, HBitmapNode*, HBitmapNode*, float)>(&GAShaderProgram::Process),
                 SlotOf<void()>(&P::Delete), SlotOf<void(String)>(&P::WriteLog),
                 SlotOf<unsigned(const char*, unsigned)>(&P::LoadShaderFromFile),
                 SlotOf<unsigned(const char*, unsigned)>(&P::LoadShaderFromSource),
                 SlotOf<unsigned(unsigned, unsigned)>(&P::CreateProgramFromShaders),
                 SlotOf<unsigned(HBitmapNode*, int&)>(&P::CreateTextureForShader),
                 SlotOf<unsigned(HBitmapNode*, float&, float&)>(&P::CreateDepthTextureForShader),
                 SlotOf<int(HBitmapNode*, HBitmapNode*, unsigned char*, int, int, float, int, int)>(
                     &P::MergeBuffers),
                 SlotOf<void(unsigned)>(&P::WriteInfoLog)});
  using C = GANativeColor;
  using U8 = unsigned char;
  ExpectInOrder({SlotOf<void(U8, U8, U8, U8)>(&C::Set), SlotOf<void(U8)>(&C::SetRed),
                 SlotOf<void(U8)>(&C::SetGreen), SlotOf<void(U8)>(&C::SetBlue),
                 SlotOf<void(U8)>(&C::SetAlpha), SlotOf<U8() const>(&C::Red),
                 SlotOf<U8() const>(&C::Green), SlotOf<U8() const>(&C::Blue),
                 SlotOf<U8() const>(&C::Alpha), SlotOf<void(const RGBFloat&)>(&C::Set)});
}

TEST(Interface, DisplayListSlots) {
  using C = DisplayList;
  using V = Vector;
  using K = GAColor;
  using U16 = unsigned short;
  using U64 = unsigned long;
  ExpectInOrder(
      {SlotOf<void()>(&C::OnSize),
       SlotOf<void(K&)>(&C::SetDefaultColor),
       SlotOf<void(int)>(&C::SetDepthFunc),
       SlotOf<void(GATexture*)>(&C::SetTexture),
       SlotOf<int(const V&, const K&)>(&C::AddOGLVertex),
       SlotOf<int(const V&)>(&C::AddTransformedVertex),
       SlotOf<int(const V&, const K&)>(&C::AddTransformedVertex),
       SlotOf<int(const V&, const K&, const Vector2&)>(&C::AddTransformedVertex),
       SlotOf<int(V, const K&)>(&C::TransformAndAddVertex),
       SlotOf<void()>(&C::PrepForLines),
       SlotOf<void(int, int)>(&C::AddLine),
       SlotOf<void(V, V)>(&C::AddLine),
       SlotOf<void(V, V, const K&)>(&C::AddLine),
       SlotOf<void(V, K&, V, K&)>(&C::AddLine),
       SlotOf<void(V*, V*, int, K&, K&)>(&C::AddLineList),
       SlotOf<void(const V&, const V&)>(&C::AddTransformedLine),
       SlotOf<void(const V&, const V&, const K&)>(&C::AddTransformedLine),
       SlotOf<void(const V&, const V&)>(&C::AddTransformedLineRef),
       SlotOf<void(const V&, const V&, const K&)>(&C::AddTransformedLineRef),
       SlotOf<void(const V&, const K&, const V&, const K&)>(&C::AddTransformedLine),
       SlotOf<void(V*, int)>(&C::AddTransformedLineList),
       SlotOf<void(V*, V*, int, K&, K&)>(&C::AddTransformedLineList),
       SlotOf<void(GAShadedLineVertex*, int, int)>(&C::AddTransformedShadedLineList),
       SlotOf<void(std::vector<GALitVertex>&, std::vector<unsigned>&)>(&C::AddIndexedLineList),
       SlotOf<void(int, int, int, int, float)>(&C::AddRectangle),
       SlotOf<void(int, int, int, int, float, K&)>(&C::AddRectangle),
       SlotOf<void(int, int, int, int, float, int, int, K&)>(&C::AddRoundRect),
       SlotOf<void(const V&, const V&, const V&)>(&C::AddCircle),
       SlotOf<void(const V&, const V&, const V&, K&)>(&C::AddCircle),
       SlotOf<void(const V&, const V&, const V&, K&)>(&C::AddSemiCircle),
       SlotOf<void(const V&, const V&, const V&, K&)>(&C::AddTransformedSemiCircle),
       SlotOf<void(const V&, const float&)>(&C::AddTransformedCircle),
       SlotOf<void(const V&, const float&, const K&)>(&C::AddTransformedCircle),
       SlotOf<void(V, float, K&)>(&C::AddSphere),
       SlotOf<void(V, float, K&)>(&C::AddTransformedSphere),
       SlotOf<void(const V&, int, K&)>(&C::AddCP),
       SlotOf<void()>(&C::PrepForPoints),
       SlotOf<void(const V&)>(&C::AddTransformedPoint),
       SlotOf<void(const V&, const K&)>(&C::AddTransformedPoint),
       SlotOf<void(int)>(&C::AddPoint),
       SlotOf<void()>(&C::PrepForPolygons),
       SlotOf<void()>(&C::PrepForPolygonArray),
       SlotOf<void(const VornPoly&, int)>(&C::AddTransformedPolygon),
       SlotOf<void(const VornPoly*, int, int)>(&C::AddTransformedPolygons),
       SlotOf<void(GAVertex*, int, int)>(&C::AddTransformedQuad),
       SlotOf<void(GAVertex*, int)>(&C::AddTransformedTri),
       SlotOf<void(GAVertex*, RGBFloat*, int)>(&C::AddTransformedQuad),
       SlotOf<void(GALitVertex*)>(&C::AddTransformedQuad),
       SlotOf<void(int, int, int, int, float)>(&C::AddSolidRectangle),
       SlotOf<void(int, int, int, int, float, K&)>(&C::AddSolidRectangle),
       SlotOf<void(GAVertex*, U64, U16*, U64, int)>(&C::AddIndexedTriangleFan),
       SlotOf<void(GALitVertex*, U64, U16*, U64, int)>(&C::AddIndexedLitTriangleList),
       SlotOf<void(GALitVertexWT*, U64, U16*, U64, int)>(&C::AddIndexedLitTriangleListWT),
       SlotOf<void()>(&C::FlushTransparentPolys),
       SlotOf<void()>(&C::BeginInstructions),
       SlotOf<void()>(&C::EndInstructions),
       SlotOf<void()>(&C::ExecuteInstructions),
       SlotOf<void()>(&C::FlushArrays),
       SlotOf<void()>(&C::Execute),
       SlotOf<void(int)>(&C::SetProjection),
       SlotOf<void(LightListNode*)>(&C::SetupLights),
       SlotOf<void(AttrProperty*, float)>(&C::SetMaterial)});
}

}  // namespace

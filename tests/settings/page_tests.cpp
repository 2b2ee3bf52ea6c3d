// The settings page: what it shows, and what confirming it stores.
#include <fmt/format.h>

#include <set>

#include "host/Streams.h"
#include "platform/cgl.h"
#include "tests/settings/page_fixture.h"
#include "tests/support/common/holds.h"
#include "tests/support/faults.h"
#include "tests/support/gl_recorder.h"
#include "tests/support/next_symbol.h"

// In front of the host kit's.

void SetRegistryValue(const String& section, const String& key, int value) {
  static auto* const next =
      NextSymbol<decltype(SetRegistryValue)>("_Z16SetRegistryValueRK6StringS1_i");
  g_hostCalls.stored.push_back(fmt::format("{}/{}={}", section.Text(), key.Text(), value));
  next(section, key, value);
}

int GetRegistryValue(const String& section, const String& key, int fallback) {
  static auto* const next =
      NextSymbol<decltype(GetRegistryValue)>("_Z16GetRegistryValueRK6StringS1_i");
  g_hostCalls.read.push_back(fmt::format("{}/{}={}", section.Text(), key.Text(), fallback));
  return next(section, key, fallback);
}

int FileStream::Open(const String& path, int mode) {
  static auto* const next =
      NextSymbol<int(FileStream*, const String&, int)>("_ZN10FileStream4OpenERK6Stringi");
  g_hostCalls.fileModes.push_back(mode);
  return next(this, path, mode);
}

namespace {

using namespace platform;
using Option = GL3GADriver::OptionFlag;

constexpr int kBoxes[] = {1347, 1359, 1367, 1357, 1368, 1369};

using PageTest = PageFixture;

/// The texts of a list, each with '+' before it when it is checked, else '-'.
Lines Items(const DialogControl& list) {
  Lines items;
  for (const ListItem& item : list.items) items.push_back((item.checked ? "+" : "-") + item.text);
  return items;
}

TEST_F(PageTest, ShowsTheGLAndTheOptions) {
  Driver()->MakeCurrent();
  const auto text = [](GLenum name) -> std::string {
    return reinterpret_cast<const char*>(glGetString(name));
  };
  EXPECT_EQ(Read(kVersionText).text, text(GL_VERSION));
  EXPECT_EQ(Read(kVendorText).text, text(GL_VENDOR));
  EXPECT_EQ(Read(kRendererText).text, text(GL_RENDERER));
  EXPECT_EQ(Read(kShadingLanguageText).text, text(GL_SHADING_LANGUAGE_VERSION));
  EXPECT_EQ(aglGetCurrentContext(), GL3GADriver::m_context) << "current as before";

  const bool states[] = {false, true, false, false, true, false};  // of a fresh registry
  for (std::size_t i = 0; i < std::size(kBoxes); ++i) {
    const DialogControl box = Read(kBoxes[i]);
    EXPECT_TRUE(box.visible && box.enabled) << kBoxes[i];
    EXPECT_EQ(box.checked, states[i]) << kBoxes[i];
  }
  EXPECT_FALSE(Folder().Has("registry.ini"));
}

TEST_F(PageTest, ThePresenceOfExtensionsIsAPlainSearch) {
  GlRecorder recorder(GlRecorder::kPlatform);
  recorder.OverrideString(GL_EXTENSIONS,
                          "GL_ARB_depth_texture_more WGL_ARB_pbuffer GL_ARB_texture_buffer_object "
                          "GL_EXT_gpu_shader4 GL_KTX_buffer_region");
  const DialogControl list = Read(kExtensionList);
  EXPECT_TRUE(Holds(recorder.CallsTo("CGLChoosePixelFormat").at(0), {"kCGLPFASamples, 4}"}));
  EXPECT_EQ(Items(list), (Lines{"+GL_ARB_depth_texture", "-GL_ARB_texture_border_clamp",
                                "-GL_ARB_texture_non_power_of_two", "+GL_ARB_texture_buffer_object",
                                "-GL_EXT_framebuffer_object", "+GL_EXT_gpu_shader4",
                                "-GL_EXT_texture_filter_anisotropic", "+GL_KTX_buffer_region",
                                "-WGL_ARB_pbuffer", "-WGL_ARB_multisample",
                                "-WGL_ARB_pixel_format"}));  // of the platform none is known
  for (const ListItem& item : list.items) EXPECT_FALSE(item.enabled) << item.text;
  recorder.OverrideString(GL_EXTENSIONS, nullptr);
  EXPECT_EQ(Items(Read(kExtensionList))[0], "-GL_ARB_depth_texture");
}

TEST_F(PageTest, EachBoxHasItsOptionAndItsKey) {
  const std::pair<const char*, int> settings[] = {
      {"Antialias", kAntialiasBox},
      {"Anisotropic", kAnisotropicBox},
      {"SortInverse Transparent Triangles", kInverseSortBox},
      {"Polygonmode", kPolygonModeBox},
      {"Textures Compression", kCompressionBox},
      {"Textures Powerof2", kPowerOfTwoBox}};
  for (const auto& [key, box] : settings) {
    const bool before = Read(box).checked;
    Stored().clear();
    EXPECT_TRUE(Play({CheckStep(box, !before), ConfirmStep()}));
    EXPECT_EQ(Read(box).checked, !before) << "in the driver";
    EXPECT_EQ(GetRegistryValue("OpenGL3", key, 7), !before ? 1 : 0);
    RestartDriver();
    EXPECT_EQ(Read(box).checked, !before) << "and in the next driver";
    EXPECT_EQ(Stored().size(), 8u);
  }
}

TEST_F(PageTest, TheCaptionOfCompressionTellsFromWhichSize) {
  for (const auto& [size, text] : {std::pair{8192, "Compress if x or y > 2048"},
                                   {8191, "Compress if x or y > 2047"},
                                   {0, "Compress if x or y > 0"}}) {
    GL3GADriver::gl_max_texture_size = size;
    EXPECT_EQ(Read(kCompressionBox).text, text);
  }
}

/// Keeps what a view is told: what of which control, "/line" of a list, '+' when that is checked.
class EventView : public ScriptedView {
 public:
  using ScriptedView::ScriptedView;
  void Changed(DialogModel&, const DialogControl& control, ControlChange change,
               int item) override {
    constexpr const char* kChanges[] = {"text ", "check ", "enable ", "hide ", "add ", "line "};
    std::string event = kChanges[static_cast<int>(change)] + std::to_string(control.id);
    if (item >= 0) {
      const bool checked = control.items[static_cast<std::size_t>(item)].checked;
      event += "/" + std::to_string(item) + (checked ? "+" : "");
    }
    events.push_back(event);
  }
  void Redraw(DialogModel&) override { events.emplace_back("redraw"); }

  Lines events;
};

TEST_F(PageTest, ComingToTheFrontFillsItAndAddsTheExtensionsEachTime) {
  GlRecorder recorder;
  recorder.OverrideString(GL_EXTENSIONS, "GL_EXT_gpu_shader4");
  Driver()->SetOption(Option::kAntialias, true);
  Driver()->SetOption(Option::kPowerOfTwoTextures, true);
  Driver()->SetWireframe(true);
  GL3GABuffer::m_inversesort = 1;
  for (const int reduced : {0, 2}) {
    const std::unique_ptr<CPropertyPage> pages[] = {
        std::unique_ptr<CPropertyPage>(Driver()->CreatePropertyPage(0)),
        std::unique_ptr<CPropertyPage>(Driver()->CreatePropertyPage(reduced))};
    CPropertySheet sheet("Both");
    for (const auto& page : pages) sheet.AddPage(page.get());
    DialogControl list, box;
    Lines filled;
    const EventView* view = nullptr;
    EventView script({DoStep([&](DialogModel& model) {
                        EXPECT_EQ(model.Pages()[0]->SetChecked(kAntialiasBox, false), !reduced);
                      }),
                      PageStep(1), DoStep([&](DialogModel&) {
                        filled = view->events;
                        EXPECT_EQ(pages[1]->OnInitDialog(), 0) << "the focus goes nowhere";
                        EXPECT_EQ(pages[1]->OnSetActive(), 1);
                      }),
                      PageStep(0), ReadStep(kExtensionList, &list), ReadStep(kAntialiasBox, &box)});
    view = &script;
    EXPECT_EQ(sheet.DoModal(), IDCANCEL);
    EXPECT_TRUE(script.IsDone()) << script.Error();
    Lines wanted;
    if (!reduced) wanted.emplace_back("check 1347");  // on the first page
    for (const int id : {1350, 1348, 1349, 1352}) wanted.push_back("text " + std::to_string(id));
    for (const int id : kBoxes) wanted.push_back("check " + std::to_string(id));
    for (const int id : kBoxes) {
      if (reduced) wanted.push_back("hide " + std::to_string(id));
    }
    if (!reduced) wanted.emplace_back("text 1368");
    for (int i = 0; i < 11; ++i) {
      wanted.push_back("add 1356/" + std::to_string(i));
      wanted.push_back("line 1356/" + std::to_string(i));
      if (i == 5) wanted.emplace_back("line 1356/5+");
      if (i == 0) wanted.emplace_back("redraw");
    }
    EXPECT_EQ(filled, wanted);
    ASSERT_EQ(list.items.size(), 22u);
    const auto& items = Items(list);
    EXPECT_EQ(Lines(items.begin(), items.begin() + 11), Lines(items.begin() + 11, items.end()));
    EXPECT_EQ(box.checked, reduced != 0) << "what was chosen stays";
    EXPECT_EQ(Stored(), Lines());
  }
}

TEST_F(PageTest, ConfirmedAsItWasOrCancelledItStoresNothing) {
  GL3GABuffer::m_inversesort = 2;  // a number that the registry may hold, and a check box may not
  EXPECT_FALSE(Play({ConfirmStep()}));
  EXPECT_FALSE(Play({ClickStep(kAntialiasBox), ClickStep(kAntialiasBox), ConfirmStep()}));
  EXPECT_EQ(GL3GABuffer::m_inversesort, 2);
  EXPECT_FALSE(Play({ClickStep(kAntialiasBox), ClickStep(kPolygonModeBox), CancelStep()}));
  EXPECT_FALSE(Driver()->HasOption(Option::kAntialias) || Driver()->IsWireframe());
  EXPECT_EQ(Stored(), Lines());
  EXPECT_FALSE(Folder().Has("registry.ini"));
}

/// Any number but 0 checks the box; only toggling the box itself replaces it.
TEST_F(PageTest, ANumberOfTheRegistryOutlivesOtherChanges) {
  const char* key = "SortInverse Transparent Triangles";
  SetRegistryValue("OpenGL3", key, 2);
  RestartDriver();
  const auto storedSort = [&] {
    const std::string line = Stored().size() == 8 ? Stored()[3] : "";
    Stored().clear();
    return line.substr(line.find('=') + 1);
  };
  Stored().clear();
  EXPECT_TRUE(Read(kInverseSortBox).checked);
  EXPECT_FALSE(Play({ConfirmStep()}));
  EXPECT_EQ(Stored(), Lines());
  EXPECT_TRUE(Play({ClickStep(kAntialiasBox), ConfirmStep()}));
  EXPECT_EQ(storedSort(), "2");
  EXPECT_EQ(GetRegistryValue("OpenGL3", key, 7), 2);
  EXPECT_TRUE(Play({ClickStep(kInverseSortBox), ConfirmStep()}));
  EXPECT_EQ(storedSort(), "0");
  EXPECT_TRUE(Play({ClickStep(kInverseSortBox), ConfirmStep()}));
  EXPECT_EQ(storedSort(), "1");
}

TEST_F(PageTest, OneChangeStoresAllEightByClickOrByKey) {
  const std::string file =
      "[OpenGL3]\nPolygonmode = 0\nAnisotropic = 1\nAntialias = 1\n"
      "SortInverse Transparent Triangles = 0\nTextures Powerof2 = 0\nTextures Compression = 1\n"
      "Max Vertices = 4567\nMax Transparent Triangles = 1234\n";
  for (const ScriptStep& change : {ClickStep(kAntialiasBox), KeyStep('s')}) {
    std::filesystem::remove(Folder().Path("registry.ini"));
    hostkit::ReloadRegistry();
    g_hostCalls.read.clear();
    RestartDriver();
    EXPECT_EQ(g_hostCalls.read,
              (Lines{"OpenGL3/Max Transparent Triangles=149999",
                     "OpenGL3/SortInverse Transparent Triangles=0", "OpenGL3/Anisotropic=1",
                     "OpenGL3/Antialias=0", "OpenGL3/Max Vertices=12000000",
                     "OpenGL3/Textures Powerof2=0", "OpenGL3/Textures Compression=1",
                     "OpenGL3/Polygonmode=0", "General/OpenMP Threads=1"}));
    GL3GADriver::gl_max_vertices = 4567;
    GL3GABuffer::m_maxtransparentpolys = 1234;
    GL3GADriver::m_azprocessor = 3;
    Stored().clear();
    const ScriptedView view({change, ConfirmStep()});
    const std::unique_ptr<CPropertyPage> page(Driver()->CreatePropertyPage(0));
    CPropertySheet sheet("Settings");
    sheet.AddPage(page.get());
    sheet.m_nFlags = 0x40;
    EXPECT_EQ(sheet.DoModal(), IDOK);
    EXPECT_EQ(sheet.m_nFlags, 0x42u);
    EXPECT_TRUE(Driver()->HasOption(Option::kAntialias));
    EXPECT_EQ(Stored(),
              (Lines{"OpenGL3/Polygonmode=0", "OpenGL3/Anisotropic=1", "OpenGL3/Antialias=1",
                     "OpenGL3/SortInverse Transparent Triangles=0", "OpenGL3/Textures Powerof2=0",
                     "OpenGL3/Textures Compression=1", "OpenGL3/Max Vertices=4567",
                     "OpenGL3/Max Transparent Triangles=1234"}));
    EXPECT_EQ(Folder().Read("registry.ini"), file);
  }
}

TEST_F(PageTest, AReducedPageHidesTheOptionsAndStoresNothing) {
  for (const int reduced : {2, 0}) {  // the second time the driver still has it
    for (const int box : kBoxes) {
      const DialogControl control = Read(box, reduced);
      EXPECT_FALSE(control.visible) << box;
      EXPECT_EQ(control.text.find("Compress if"), std::string::npos);
    }
    const auto refused = DoStep([](DialogModel& sheet) {
      const DialogModel& page = *sheet.Pages()[0];
      EXPECT_FALSE(sheet.Pages()[0]->Click(kAntialiasBox));
      EXPECT_FALSE(sheet.PressKey('S'));
      const int options = page.Find(kAntialiasBox)->group;
      EXPECT_FALSE(page.IsGroupVisible(options));
      EXPECT_TRUE(page.IsGroupVisible(page.Find(kVersionText)->group));
    });
    EXPECT_FALSE(Play({refused, ConfirmStep()}, reduced));
  }
  EXPECT_TRUE(Driver()->HasOption(Option::kReducedPage));
  EXPECT_EQ(Stored(), Lines());
}

TEST_F(PageTest, WithoutAnisotropyItsBoxIsOffAndOutOfReach) {
  Faults faults;
  faults.HideExtension("GL_EXT_texture_filter_anisotropic");
  RestartDriver();
  const DialogControl box = Read(kAnisotropicBox);
  EXPECT_TRUE(box.visible);
  EXPECT_FALSE(box.enabled);
  EXPECT_FALSE(box.checked);
  Play({DoStep([](DialogModel& sheet) {
          EXPECT_FALSE(sheet.Pages()[0]->SetChecked(kAnisotropicBox, true));
        }),
        ConfirmStep()});
  EXPECT_EQ(Stored(), Lines());
}

TEST_F(PageTest, WithoutAGLItSaysSo) {
  for (const FaultPoint point :
       {FaultPoint::kCglChoosePixelFormat, FaultPoint::kCglCreateContext}) {
    Faults faults;
    faults.FailAlways(point);
    const bool none = point == FaultPoint::kCglChoosePixelFormat;
    EXPECT_EQ(Read(kVersionText).text, none ? "OpenGL3 Unresolvable error" : "");
    EXPECT_EQ(Read(kVendorText).text, none ? "No matching pixelformat found" : "");
    EXPECT_EQ(Read(kRendererText).text, "");
    const DialogControl list = Read(kExtensionList);
    EXPECT_EQ(list.items.size(), 11u);
    for (const ListItem& item : list.items) EXPECT_FALSE(item.checked) << item.text;
  }
}

/// What a view needs to show the dialogs well: every control has words, keys do not clash. Hosts
/// find the controls by their numbers.
TEST_F(PageTest, EveryControlHasItsNumberWordsAndAKeyOfItsOwn) {
  using Kind = ControlKind;
  const std::vector<std::pair<int, Kind>> wanted = {
      {200, Kind::kPages},     {1350, Kind::kValue},        {1348, Kind::kValue},
      {1349, Kind::kValue},    {1352, Kind::kValue},        {1356, Kind::kCheckList},
      {1351, Kind::kButton},   {1347, Kind::kCheckBox},     {1359, Kind::kCheckBox},
      {1367, Kind::kCheckBox}, {1357, Kind::kCheckBox},     {1368, Kind::kCheckBox},
      {1369, Kind::kCheckBox}, {201, Kind::kPages},         {1356, Kind::kList},
      {1358, Kind::kButton},   {IDOK, Kind::kDefaultButton}};
  std::vector<std::pair<int, Kind>> all;
  for (const DialogTemplate& dialog : kDialogResources.dialogs) {
    std::set<char> keys;
    all.emplace_back(dialog.id, Kind::kPages);
    EXPECT_STRNE(kDialogResources.Text(dialog.title).text, "");
    for (const ControlTemplate& control : dialog.controls) {
      const DialogText& text = kDialogResources.Text(control.text);
      EXPECT_TRUE(*text.text || *text.toolTip) << control.id;
      if (control.id != kNoControlId) {
        all.emplace_back(control.id, control.kind);
        EXPECT_TRUE(*text.toolTip || control.id == IDOK) << control.id;
      }
      if (!text.accessKey) continue;
      EXPECT_TRUE(keys.insert(text.accessKey).second) << text.accessKey;
      bool marked = false;
      MarkAccessKey(text.text, text.accessKey, &marked);
      EXPECT_TRUE(marked) << text.text;
    }
  }
  EXPECT_EQ(all, wanted);
}

}  // namespace

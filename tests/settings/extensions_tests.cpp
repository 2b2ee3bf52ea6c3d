// The dialog of all extensions, its report file, and the report by way of it.

#include "hostkit/services/save_request.h"
#include "settings/GL3Property.h"
#include "tests/settings/page_fixture.h"
#include "tests/support/common/holds.h"
#include "tests/support/faults.h"
#include "tests/support/gl_recorder.h"

namespace {

using namespace platform;

class ExtensionsTest : public PageFixture {
 protected:
  void TearDown() override {
    hostkit::SetSaveRequestHandler({});
    m_question = {};
    PageFixture::TearDown();
  }
  /// Answers the file question with `path`; an empty one cancels.
  void AnswerWith(const std::string& path) {
    hostkit::SetSaveRequestHandler([this, path](const hostkit::SaveQuestion& question, String* to) {
      m_question = question;
      *to = path.c_str();
      return path.empty() ? 0 : 1;
    });
  }
  void SaveInDialog() {
    Play({ClickStep(kExtensionsButton), ClickStep(kSaveButton), ConfirmStep(), CancelStep()});
  }
  Lines Listed() {
    DialogControl list;
    Play({ClickStep(kExtensionsButton), ReadStep(kExtensionList, &list), CancelStep()});
    Lines names;
    for (const ListItem& item : list.items) names.push_back(item.text);
    return names;
  }

  hostkit::SaveQuestion m_question;
};

TEST_F(ExtensionsTest, NamesEndAtSpaces) {
  const std::pair<const char*, Lines> cases[] = {
      {"GL_A GL_B ", {"GL_A", "GL_B"}},
      {"GL_A GL_B", {"GL_A"}},  // what no space follows is lost
      {"GL_A  GL_B ", {"GL_A", "", "GL_B"}},
      {" GL_A ", {"", "GL_A"}},
      {"GL_A", {}},
      {"", {}},
      {nullptr, {}}};
  for (const auto& [extensions, listed] : cases) {
    GlRecorder recorder;
    recorder.OverrideString(GL_EXTENSIONS, extensions);
    EXPECT_EQ(Listed(), listed) << (extensions ? extensions : "null");
  }
}

/// Keeps when the program was busy, and whether there was a file by then.
class BusyView : public ScriptedView {
 public:
  using ScriptedView::ScriptedView;
  void ShowBusy(bool now) override { busy.emplace_back(now, std::filesystem::exists(path)); }

  std::string path;
  std::vector<std::pair<bool, bool>> busy;
};

TEST_F(ExtensionsTest, TheFocusGoesNowhere) {
  COpenGLPropertyPage page(Driver(), 0);
  CExtensionsDlg dialog(&page);
  const ScriptedView view({DoStep([&](DialogModel&) { EXPECT_EQ(dialog.OnInitDialog(), 0); })});
  EXPECT_EQ(dialog.DoModal(), IDCANCEL);
}

TEST_F(ExtensionsTest, TheFileHoldsTheReportAndTheList) {
  GlRecorder recorder;
  recorder.OverrideString(GL_EXTENSIONS, "GL_A  GL_B GL_C");
  const std::string path = Folder().Path("report.txt");
  AnswerWith(path);
  BusyView view({ClickStep(kExtensionsButton), ClickStep(kSaveButton)});
  view.path = path;
  hostkit::SettingsSheet(*Driver(), 0).Run();
  EXPECT_EQ(view.busy, (std::vector<std::pair<bool, bool>>{{true, false}, {false, true}}))
      << "the file is complete when the program no longer is busy";
  const std::string report = Driver()->GetExtendedDriverInfo().Text();
  EXPECT_EQ(Folder().Read("report.txt"), report + "\n\nExtensions\nGL_A\n\nGL_B\n");
  EXPECT_EQ(g_hostCalls.fileModes, std::vector<int>{0x20});
  const hostkit::SaveQuestion& asked = m_question;
  EXPECT_EQ((Lines{asked.title.Text(), asked.filter.Text(), asked.suggestion.Text(),
                   asked.extension.Text(), asked.type.Text()}),
            (Lines{"Choose a filename for saving the extensions", "Text Files(*.txt)|*.txt|",
                   "GLExtensions.txt", "txt", "TXT"}));
  EXPECT_EQ(m_question.option, 2499);
  EXPECT_EQ(m_question.parent, nullptr);
}

TEST_F(ExtensionsTest, WithoutAFileNothingHappens) {
  const Faults faults;
  hostkit::SetSaveRequestHandler({});  // nobody to ask
  SaveInDialog();
  hostkit::SetSaveRequestHandler([&](const hostkit::SaveQuestion&, String* to) {
    *to = Folder().Path("cancelled.txt").c_str();
    return 0;
  });
  SaveInDialog();
  AnswerWith("");
  SaveInDialog();
  EXPECT_EQ(g_hostCalls.fileModes, std::vector<int>()) << "no file is opened";
  AnswerWith(Folder().Path("no_such_folder/report.txt"));
  SaveInDialog();
  EXPECT_EQ(g_hostCalls.fileModes.size(), 1u);
  EXPECT_EQ(faults.Messages(), Lines()) << "one that cannot be made is passed over in silence";
  EXPECT_EQ(Folder().Count(), 0);
}

TEST_F(ExtensionsTest, HostsReadTheReportWithoutAFileOnDisk) {
  GlRecorder recorder;
  recorder.OverrideString(GL_EXTENSIONS, "GL_A GL_B ");
  AnswerWith(Folder().Path("not_this_time.txt"));
  std::string error = "x";
  const hostkit::DriverReport report = hostkit::ReadDriverReport(*Driver(), &error);
  EXPECT_EQ(error, "");
  EXPECT_EQ(report.extended, Driver()->GetExtendedDriverInfo().Text());
  EXPECT_EQ(report.extensions, (Lines{"GL_A", "GL_B"}));
  EXPECT_EQ(Folder().Count(), 0);
  EXPECT_EQ(Stored(), Lines());

  SaveInDialog();
  EXPECT_TRUE(Folder().Has("not_this_time.txt")) << "the host's own answer is back in place";
  EXPECT_EQ(SetDialogView(nullptr), nullptr) << "and so is its view";
}

TEST_F(ExtensionsTest, AReportThatCannotBeHadIsExplained) {
  Faults faults;
  faults.FailAlways(FaultPoint::kCglCreateContext);
  std::string error;
  EXPECT_EQ(hostkit::ExtendedReport(Driver(), &error), "");
  EXPECT_TRUE(Holds(error, {"no context"}));
}

}  // namespace
